#include "loopback_listener.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/epoll.h>
#include <sys/socket.h>

#include <cerrno>
#include <system_error>

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

}  // namespace

LoopbackListener::LoopbackListener(sd_event* loop, std::uint16_t port, std::int64_t priority,
                                   AcceptHandler on_accept)
    : socket_(Listen(port)), on_accept_(std::move(on_accept)) {
  sd_event_source* source = nullptr;
  ipc::CheckEvent(sd_event_add_io(loop, &source, socket_.Get(), EPOLLIN, OnReadable, this),
                  "watch a loopback port");
  source_.reset(source);
  ipc::CheckEvent(sd_event_source_set_priority(source, priority), "set priority of a listener");
}

int LoopbackListener::OnReadable(sd_event_source* source, int fd, std::uint32_t,
                                 void* self) noexcept {
  return ipc::DispatchGuarded(source, "loopback port", [&] {
    ipc::UniqueFd socket(accept4(fd, nullptr, nullptr, SOCK_CLOEXEC));
    if (socket) {
      const int on = 1;  // small frames, answered one at a time
      setsockopt(socket.Get(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof(on));
      static_cast<LoopbackListener*>(self)->on_accept_(std::move(socket));
    }
  });
}

}  // namespace agentd
