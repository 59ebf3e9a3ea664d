// What the library knows of each socket that a program has connected. The
// library belongs to one thread, as the error state of the C API does.
#ifndef CONFD_CLIENT_CONNECTION_H
#define CONFD_CLIENT_CONNECTION_H

#include <agent.pb.h>
#include <confd_cdb.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "confd_client/deferred_writes.h"
#include "confd_client/error.h"
#include "confd_client/link.h"
#include "confd_client/path.h"
#include "confd_client/read_cache.h"
#include "frame.h"

namespace confd {

// An open session of a data connection.
struct Session {
  cdb_db_type database;
  std::shared_ptr<ReadCache> cache;  // others on the same state may share it
  bool is_begun;                     // at the agent too
  DeferredWrites deferred;
};

struct SubscriptionPoint {
  int id;
  std::uint32_t name_space;
  Path path;
};

struct Connection {
  Connection(int fd, cdb_sock_type socket_type) : link(fd), type(socket_type) {}

  Link link;
  cdb_sock_type type;
  std::string agent;  // its address, for people; two of the same are one agent

  std::optional<Session> session;  // CDB_DATA_SOCKET
  WritableLists writable;

  // CDB_SUBSCRIPTION_SOCKET
  std::vector<SubscriptionPoint> points;
  bool subscribe_done = false;
  // From cdb_read_subscription_socket to cdb_sync_subscription_socket. Shared
  // with a walk over it, whose callback may end all this.
  std::shared_ptr<const cfm::agent::Notification> notification;
};

// Takes the place of what stood under the same number.
void AddConnection(int fd, std::shared_ptr<Connection> connection);
void RemoveConnection(int fd);
std::vector<std::shared_ptr<Connection>> AllConnections();
// Throws ApiError when the socket is not connected to the agent.
std::shared_ptr<Connection> FindConnection(int fd);
// The same, and the socket must be of that type.
std::shared_ptr<Connection> FindConnection(int fd, cdb_sock_type type);

// Runs the body of a C call on a connection of that type. What the body finds
// wrong in the agent's messages ends the connection, also for what the session
// has read already.
template <typename Body>
int OnConnection(int fd, cdb_sock_type type, Body body) noexcept {
  return Guarded([&] {
    const auto connection = FindConnection(fd, type);
    connection->link.CheckNotOver();
    try {
      return body(*connection);
    } catch (const ipc::ProtocolError& error) {
      connection->link.FailForGarbage(error.what());
    }
  });
}

}  // namespace confd

#endif
