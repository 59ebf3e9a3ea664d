// Replies of the agent as an operator is told them.
#ifndef TOOLS_COMMANDS_REPLIES_H
#define TOOLS_COMMANDS_REPLIES_H

#include <string>
#include <vector>

#include "agent.pb.h"
#include "environment.h"

namespace cfmctl {

// Prints the warnings of the reply. Throws Failure kRefused with `refusal`
// and one line per error when the request was refused.
void CheckReply(const Environment& environment, const cfm::agent::Reply& reply,
                const std::string& refusal);

void PrintWarnings(const Environment& environment, const std::vector<std::string>& warnings);
inline constexpr const char* kCommitRefused = "the commit was refused, nothing was changed";

// Says what came of a commit that was not refused.
void ReportCommit(const Environment& environment, const cfm::agent::Reply& reply);

}  // namespace cfmctl

#endif
