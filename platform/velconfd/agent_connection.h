// The framework's own connection to the agent: one data socket and one
// subscription socket, from the connect to the loss. Every call throws
// AgentError when the agent is gone or refuses.
#ifndef VELCONFD_AGENT_CONNECTION_H
#define VELCONFD_AGENT_CONNECTION_H

#include <confd_cdb.h>

#include <optional>
#include <vector>

#include "cdb_socket.h"
#include "subscriptions.h"

namespace velconfd {

class AgentConnection {
 public:
  // Connects, learns the names of the agent's models and opens a session on
  // the running configuration: no commit happens until EndSession. AgentAbsent
  // when nobody listens.
  explicit AgentConnection(const AgentAddress& agent);

  // For the session, and afterwards for watching.
  int DataSocket() const { return data_.Get(); }
  cdb_txid ReadTxid();
  void Subscribe(const AgentAddress& agent, const std::vector<ConfigHandler*>& handlers);
  void EndSession();

  // After Subscribe:
  int SubscriptionSocket() const { return subscription_->Get(); }
  const Subscriptions& Subscribed() const { return *subscriptions_; }
  // The points that a commit touched.
  std::vector<int> ReadNotification();
  // The commit goes on.
  void Acknowledge();

  // Throws when the data socket, on which nothing is due, has hung up.
  void CheckDataSocket() const;
  // The same of the subscription socket, while a notification is open.
  void CheckSubscriptionSocket() const;

 private:
  CdbSocket data_;
  std::optional<CdbSocket> subscription_;
  std::optional<Subscriptions> subscriptions_;
};

}  // namespace velconfd

#endif
