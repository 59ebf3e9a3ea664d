// One end of a connected wire: a greeting first, then a frame in each packet.
#ifndef CFM_MANAGER_WIRE_END_H
#define CFM_MANAGER_WIRE_END_H

#include <systemd/sd-event.h>

#include <cstdint>
#include <functional>
#include <string>

#include "event_source.h"
#include "port.h"
#include "unique_fd.h"

namespace cfm {

class WireEnd {
 public:
  // Called from the loop. on_end may destroy the end; it is called once.
  struct Handlers {
    std::function<void()> on_greeted;
    std::function<void(engine::ByteView frame)> on_frame;
    std::function<void(const std::string& reason)> on_end;
  };

  // A connected SOCK_SEQPACKET socket, non-blocking. Throws std::system_error.
  WireEnd(sd_event* loop, ipc::UniqueFd socket, Handlers handlers);

  WireEnd(const WireEnd&) = delete;
  WireEnd& operator=(const WireEnd&) = delete;

  bool IsGreeted() const { return greeted_; }
  // The frame is lost when the peer does not keep up or was not heard yet.
  void Send(engine::ByteView frame) const;

 private:
  static int OnReadable(sd_event_source* source, int fd, std::uint32_t events, void* self) noexcept;
  void Read();
  // Whether there may be more to read.
  bool ReadPacket();
  bool End(const std::string& reason);

  ipc::UniqueFd socket_;
  Handlers handlers_;
  bool greeted_ = false;
  ipc::EventSource source_;
};

}  // namespace cfm

#endif
