#include "confd_client/dial.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>

#include <cerrno>
#include <system_error>

#include "confd_client/library.h"
#include "confd_client/names.h"
#include "fail_point.h"

namespace confd {
namespace {

constexpr std::uint32_t kProtocolVersion = 1;

// An interrupted connect goes on in the background; this awaits its end.
int AwaitConnect(int fd) {
  pollfd state{fd, POLLOUT, 0};
  while (poll(&state, 1, -1) < 0) {
    if (errno != EINTR) {
      return errno;
    }
  }
  int error = 0;
  socklen_t size = sizeof(error);
  return getsockopt(fd, SOL_SOCKET, SO_ERROR, &error, &size) == 0 ? error : errno;
}

int ConnectSocket(int fd, const sockaddr* address, int size) {
  if (connect(fd, address, static_cast<socklen_t>(size)) == 0) {
    return 0;
  }
  return errno == EINTR || errno == EINPROGRESS ? AwaitConnect(fd) : errno;
}

}  // namespace

void Connect(int fd, const sockaddr* address, int size) {
  CFM_FAIL_POINT(confd_connecting);
  if (const int error = ConnectSocket(fd, address, size); error != 0) {
    throw ApiError(CONFD_ERR_OS, "cannot connect: " + std::system_category().message(error) +
                                     "; is agentd running there?");
  }
  if (address->sa_family == AF_INET) {
    // Requests are small and awaited. Without it they are only slower.
    const int on = 1;
    setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof(on));
  }
}

cfm::agent::HelloReply Greet(Link& link, cfm::agent::Hello hello) {
  CFM_FAIL_POINT(confd_connected);
  hello.set_version(kProtocolVersion);
  if (hello.name().empty()) {
    hello.set_name(ProgramName());
  }
  link.Send(hello);
  CFM_FAIL_POINT(confd_hello_sent);
  cfm::agent::HelloReply reply;
  link.Receive(reply);
  if (!reply.error().empty()) {
    throw ApiError(CONFD_ERR_EXTERNAL, "the agent refuses: " + reply.error());
  }
  for (const auto& tag : reply.tags()) {
    SchemaNames().Learn(tag.tag(), tag.name());
  }
  CFM_FAIL_POINT(confd_hello_answered);
  return reply;
}

}  // namespace confd
