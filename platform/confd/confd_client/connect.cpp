// cdb_connect, cdb_close and confd_load_schemas: the way to the agent and the
// greeting.
#include <confd_cdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>

#include <cerrno>
#include <system_error>

#include "confd_client/address.h"
#include "confd_client/connection.h"
#include "confd_client/error.h"
#include "confd_client/library.h"
#include "confd_client/names.h"
#include "unique_fd.h"

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

void Connect(int fd, const sockaddr* address, int size) {
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

void Greet(Link& link, cfm::agent::Role role, const char* name) {
  cfm::agent::Hello hello;
  hello.set_version(kProtocolVersion);
  hello.set_role(role);
  hello.set_name(name == nullptr ? ProgramName() : name);
  link.Send(hello);
  cfm::agent::HelloReply reply;
  link.Receive(reply);
  if (!reply.error().empty()) {
    throw ApiError(CONFD_ERR_EXTERNAL, "the agent refuses: " + reply.error());
  }
  for (const auto& tag : reply.tags()) {
    SchemaNames().Learn(tag.tag(), tag.name());
  }
}

// Connects, and adds to a failure which agent it is about. A connection that
// is not made is no end of one: there is no CONFD_EOF here.
template <typename Body>
int WithAddress(const sockaddr* address, int size, Body body) noexcept {
  return Guarded([&] {
    CheckAddress(address, size);
    try {
      body();
      return CONFD_OK;
    } catch (const ApiError& error) {
      throw ApiError(error.Code(), "agent at " + AddressText(address, size) + ": " + error.what());
    }
  });
}

cfm::agent::Role RoleOf(cdb_sock_type type) {
  switch (type) {
    case CDB_DATA_SOCKET:
      return cfm::agent::ROLE_CDB_DATA;
    case CDB_SUBSCRIPTION_SOCKET:
      return cfm::agent::ROLE_CDB_SUBSCRIPTION;
  }
  throw ApiError(CONFD_ERR_PROTOUSAGE, std::to_string(type) + " is no type of a CDB socket");
}

int ConnectCdb(int fd, cdb_sock_type type, const sockaddr* address, int size,
               const char* name) noexcept {
  return WithAddress(address, size, [&] {
    RemoveConnection(fd);  // of an earlier socket with this number
    const auto role = RoleOf(type);
    Connect(fd, address, size);
    auto connection = std::make_shared<Connection>(fd, type);
    Greet(connection->link, role, name);
    AddConnection(fd, std::move(connection));
  });
}

}  // namespace
}  // namespace confd

extern "C" {

int cdb_connect(int sock, enum cdb_sock_type type, const struct sockaddr* srv, int srv_sz) {
  return confd::ConnectCdb(sock, type, srv, srv_sz, nullptr);
}

int cdb_connect_name(int sock, enum cdb_sock_type type, const struct sockaddr* srv, int srv_sz,
                     const char* name) {
  return confd::ConnectCdb(sock, type, srv, srv_sz, name);
}

int cdb_close(int sock) {
  return confd::Guarded([&] {
    // Also a socket that could not be connected is closed by this call.
    confd::RemoveConnection(sock);
    if (close(sock) != 0) {
      throw confd::ApiError(CONFD_ERR_OS, "close socket " + std::to_string(sock) + ": " +
                                              std::system_category().message(errno));
    }
    return CONFD_OK;
  });
}

int confd_load_schemas(const struct sockaddr* srv, int srv_sz) {
  return confd::WithAddress(srv, srv_sz, [&] {
    const ipc::UniqueFd fd(socket(srv->sa_family, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (!fd) {
      throw confd::ApiError(CONFD_ERR_OS,
                            "cannot create a socket: " + std::system_category().message(errno));
    }
    confd::Connect(fd.Get(), srv, srv_sz);
    confd::Link link(fd.Get());
    confd::Greet(link, cfm::agent::ROLE_SCHEMA, nullptr);
  });
}

}  // extern "C"
