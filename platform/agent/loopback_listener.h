// A TCP port on 127.0.0.1, for programs that reach the ConfD API by AF_INET.
#ifndef AGENT_LOOPBACK_LISTENER_H
#define AGENT_LOOPBACK_LISTENER_H

#include <systemd/sd-event.h>

#include <cstdint>
#include <functional>

#include "event_source.h"
#include "unique_fd.h"

namespace agentd {

class LoopbackListener {
 public:
  using AcceptHandler = std::function<void(ipc::UniqueFd socket)>;

  // Throws std::system_error naming the port.
  LoopbackListener(sd_event* loop, std::uint16_t port, std::int64_t priority,
                   AcceptHandler on_accept);

  LoopbackListener(const LoopbackListener&) = delete;
  LoopbackListener& operator=(const LoopbackListener&) = delete;

 private:
  static int OnReadable(sd_event_source* source, int fd, std::uint32_t events, void* self) noexcept;

  ipc::UniqueFd socket_;
  AcceptHandler on_accept_;
  ipc::EventSource source_;
};

}  // namespace agentd

#endif
