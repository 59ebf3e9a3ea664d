#include "confd_client/connection.h"

#include <unordered_map>

namespace confd {
namespace {

std::unordered_map<int, std::shared_ptr<Connection>>& Connections() {
  static std::unordered_map<int, std::shared_ptr<Connection>> connections;
  return connections;
}

}  // namespace

void AddConnection(int fd, std::shared_ptr<Connection> connection) {
  Connections().insert_or_assign(fd, std::move(connection));
}

void RemoveConnection(int fd) {
  Connections().erase(fd);
}

std::vector<std::shared_ptr<Connection>> AllConnections() {
  std::vector<std::shared_ptr<Connection>> all;
  for (const auto& [fd, connection] : Connections()) {
    all.push_back(connection);
  }
  return all;
}

std::shared_ptr<Connection> FindConnection(int fd) {
  const auto connection = Connections().find(fd);
  if (connection == Connections().end()) {
    throw ApiError(CONFD_ERR_BADSTATE,
                   "socket " + std::to_string(fd) + " is not connected: call cdb_connect first");
  }
  return connection->second;
}

std::shared_ptr<Connection> FindConnection(int fd, cdb_sock_type type) {
  auto connection = FindConnection(fd);
  if (connection->type != type) {
    throw ApiError(CONFD_ERR_PROTOUSAGE, "socket " + std::to_string(fd) + " is a " +
                                             (type == CDB_DATA_SOCKET ? "subscription" : "data") +
                                             " socket, the call needs one of the other kind");
  }
  return connection;
}

}  // namespace confd
