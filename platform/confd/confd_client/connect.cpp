// cdb_connect, cdb_close and confd_load_schemas.
#include <confd_cdb.h>

#include <cerrno>
#include <system_error>

#include "confd_client/connection.h"
#include "confd_client/dial.h"
#include "unique_fd.h"

namespace confd {
namespace {

cfm::agent::Hello HelloAs(cfm::agent::Role role, const char* name) {
  cfm::agent::Hello hello;
  hello.set_role(role);
  hello.set_name(name == nullptr ? "" : name);
  return hello;
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
    Greet(connection->link, HelloAs(role, name));
    connection->agent = AddressText(address, size);
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
    confd::Greet(link, confd::HelloAs(cfm::agent::ROLE_SCHEMA, nullptr));
  });
}

}  // extern "C"
