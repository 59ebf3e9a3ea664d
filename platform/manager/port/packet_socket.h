// CFM frames of one Linux interface, with their VLAN tags.
#ifndef CFM_MANAGER_PACKET_SOCKET_H
#define CFM_MANAGER_PACKET_SOCKET_H

#include <systemd/sd-event.h>

#include <cstdint>
#include <functional>

#include "event_source.h"
#include "port.h"
#include "unique_fd.h"

namespace cfm {

class PacketSocket {
 public:
  using FrameHandler = std::function<void(engine::ByteView frame)>;

  // Takes in what comes from outside with the CFM EtherType, also to the CFM
  // group addresses. Throws std::system_error: EPERM without CAP_NET_RAW.
  PacketSocket(sd_event* loop, int interface_index, FrameHandler on_frame);

  PacketSocket(const PacketSocket&) = delete;
  PacketSocket& operator=(const PacketSocket&) = delete;

  void Send(engine::ByteView frame) const;

 private:
  static int OnReadable(sd_event_source* source, int fd, std::uint32_t events, void* self) noexcept;
  void Read();

  ipc::UniqueFd socket_;
  FrameHandler on_frame_;
  ipc::EventSource source_;
};

}  // namespace cfm

#endif
