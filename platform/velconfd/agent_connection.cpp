#include "agent_connection.h"

#include <sys/socket.h>

#include <cerrno>
#include <cstring>
#include <string>

#include "agent_error.h"

namespace velconfd {
namespace {

// Throws when the agent has hung up or talks out of turn.
void CheckQuiet(int fd, const std::string& name) {
  char byte = 0;
  const ssize_t result = recv(fd, &byte, sizeof(byte), MSG_PEEK | MSG_DONTWAIT);
  if (result == 0) {
    throw AgentError(name + ": the agent closed the connection");
  }
  if (result > 0) {
    throw AgentError(name + ": the agent sent something that nobody asked for");
  }
  if (errno != EAGAIN && errno != EINTR) {
    throw AgentError(name + ": " + std::strerror(errno));
  }
}

}  // namespace

AgentConnection::AgentConnection(const AgentAddress& agent) : data_(agent, CDB_DATA_SOCKET) {
  Check(confd_load_schemas(agent.Get(), sizeof(agent.address)), "confd_load_schemas");
  Check(cdb_start_session2(data_.Get(), CDB_RUNNING, CDB_LOCK_SESSION | CDB_LOCK_WAIT),
        "cdb_start_session2");
}

cdb_txid AgentConnection::ReadTxid() {
  cdb_txid txid{};
  Check(cdb_get_txid(data_.Get(), &txid), "cdb_get_txid");
  return txid;
}

void AgentConnection::Subscribe(const AgentAddress& agent,
                                const std::vector<ConfigHandler*>& handlers) {
  subscription_.emplace(agent, CDB_SUBSCRIPTION_SOCKET);
  subscriptions_.emplace(subscription_->Get(), handlers);
}

void AgentConnection::EndSession() {
  Check(cdb_end_session(data_.Get()), "cdb_end_session");
}

std::vector<int> AgentConnection::ReadNotification() {
  std::vector<int> points(CDB_MAX_SUBSCRIPTION_POINTS);
  int count = 0;
  Check(cdb_read_subscription_socket(subscription_->Get(), points.data(), &count),
        "cdb_read_subscription_socket");
  points.resize(static_cast<std::size_t>(count));
  return points;
}

void AgentConnection::Acknowledge() {
  Check(cdb_sync_subscription_socket(subscription_->Get(), CDB_DONE_PRIORITY),
        "cdb_sync_subscription_socket");
}

void AgentConnection::CheckDataSocket() const {
  CheckQuiet(data_.Get(), "data socket");
}

void AgentConnection::CheckSubscriptionSocket() const {
  CheckQuiet(subscription_->Get(), "subscription socket");
}

}  // namespace velconfd
