// The written part of the status, as the agent tells of its changes.
#ifndef TOOLS_CLIENT_STATUS_WATCH_H
#define TOOLS_CLIENT_STATUS_WATCH_H

#include <optional>
#include <string>
#include <vector>

#include "agent_client.h"
#include "core/status_changes.h"

namespace cfmctl {

class StatusWatch {
 public:
  // Takes the status as it is now. The client is used for nothing else from
  // now on. Throws Failure.
  StatusWatch(AgentClient client, const Deadline& deadline);

  const StatusBoard& Board() const { return board_; }

  // What changed next; nothing when the deadline passes. Throws Failure when
  // the agent goes away.
  std::optional<std::vector<StatusChange>> Next(const Deadline& deadline);

  // Warnings of the agent since the last call.
  std::vector<std::string> TakeWarnings();

 private:
  std::vector<StatusChange> Apply(const cfm::agent::Reply& reply);

  AgentClient client_;
  StatusBoard board_;
  std::vector<std::string> warnings_;
};

}  // namespace cfmctl

#endif
