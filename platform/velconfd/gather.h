// Reads the changes of a commit from the agent.
#ifndef VELCONFD_GATHER_H
#define VELCONFD_GATHER_H

#include <vector>

#include "commit.h"
#include "subscriptions.h"

namespace velconfd {

// Everything that the notified points of the commit changed, one Commit per
// handler concerned, in the order of the handlers. Nothing has been delivered
// when it throws AgentError. `subscriptions` is borrowed by the result.
std::vector<Commit> GatherCommits(int socket, const Subscriptions& subscriptions,
                                  const std::vector<int>& notified);

}  // namespace velconfd

#endif
