// The written part of the status, as the agent tells of its changes.
#ifndef TOOLS_CLIENT_STATUS_WATCH_H
#define TOOLS_CLIENT_STATUS_WATCH_H

#include <optional>
#include <string>
#include <vector>

#include "agent_client.h"
#include "core/status_changes.h"

namespace cfmctl {

struct StatusNews {
  std::vector<StatusChange> changes;  // for people
  std::vector<std::string> paths;     // of the records that the agent told of
};

class StatusWatch {
 public:
  // Takes the status as it is now. The client is used for nothing else from
  // now on. Throws Failure.
  StatusWatch(AgentClient client, const Deadline& deadline);

  const StatusBoard& Board() const { return board_; }

  // What changed next; nothing when the deadline passes, but a deadline that
  // has passed takes what is there. Throws Failure when the agent goes away or
  // says that the watch does not keep up.
  std::optional<StatusNews> Next(const Deadline& deadline);
  // Readable when there may be news that Next has not taken yet.
  int Fd() const { return client_.Fd(); }

  // Warnings of the agent since the last call.
  std::vector<std::string> TakeWarnings();

 private:
  StatusNews Apply(const cfm::agent::Reply& reply);

  AgentClient client_;
  StatusBoard board_;
  std::vector<std::string> warnings_;
};

}  // namespace cfmctl

#endif
