#include "loopback_listener.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

#include <cerrno>
#include <string>
#include <system_error>
#include <utility>

namespace agentd {
namespace {

void Check(int result, std::uint16_t port, const char* operation) {
  if (result < 0) {
    throw std::system_error(errno, std::system_category(),
                            std::string(operation) + " 127.0.0.1:" + std::to_string(port));
  }
}

ipc::UniqueFd Listen(std::uint16_t port) {
  ipc::UniqueFd socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  Check(socket.Get(), port, "create a socket for");
  const int on = 1;
  Check(setsockopt(socket.Get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof(on)), port,
        "prepare a socket for");
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  address.sin_port = htons(port);
  Check(bind(socket.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)), port,
        "bind a socket to");
  Check(listen(socket.Get(), SOMAXCONN), port, "listen at");
  return socket;
}

// Small frames, answered one at a time.
void SendAtOnce(const ipc::UniqueFd& socket) {
  const int on = 1;
  setsockopt(socket.Get(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof(on));
}

}  // namespace

LoopbackListener::LoopbackListener(sd_event* loop, std::uint16_t port, std::int64_t priority,
                                   AcceptHandler on_accept)
    : acceptor_(loop, Listen(port), "127.0.0.1:" + std::to_string(port), priority,
                [on_accept = std::move(on_accept)](ipc::UniqueFd socket) {
                  SendAtOnce(socket);
                  on_accept(std::move(socket));
                }) {}

}  // namespace agentd
