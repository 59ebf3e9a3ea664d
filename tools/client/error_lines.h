// Why the agent refused a request, for people.
#ifndef TOOLS_CLIENT_ERROR_LINES_H
#define TOOLS_CLIENT_ERROR_LINES_H

#include <string>
#include <vector>

#include "agent.pb.h"

namespace cfmctl {

// One line per error: where, what, and the rule that was broken.
std::vector<std::string> ErrorLines(const cfm::agent::Reply& reply);

}  // namespace cfmctl

#endif
