// A TCP port on 127.0.0.1, for programs that reach the ConfD API by AF_INET.
#ifndef AGENT_LOOPBACK_LISTENER_H
#define AGENT_LOOPBACK_LISTENER_H

#include <systemd/sd-event.h>

#include <cstdint>

#include "acceptor.h"

namespace agentd {

class LoopbackListener {
 public:
  using AcceptHandler = ipc::Acceptor::Handler;

  // Throws std::system_error naming the port.
  LoopbackListener(sd_event* loop, std::uint16_t port, std::int64_t priority,
                   AcceptHandler on_accept);

 private:
  ipc::Acceptor acceptor_;
};

}  // namespace agentd

#endif
