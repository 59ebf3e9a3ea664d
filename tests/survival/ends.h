// Which ends of a process are no failure.
#ifndef TESTS_SURVIVAL_ENDS_H
#define TESTS_SURVIVAL_ENDS_H

#include <optional>
#include <string>

#include "node.h"

namespace survival {

// What the sanitizers found, by the process's log; empty when nothing.
std::string SanitizerReport(const std::string& log);

// Why the process may have ended with that status by itself: only cfm-app may,
// and only because the agent was lost to it. Nothing when it may not.
std::optional<std::string> ReasonToEnd(const Node& node, Part part, int status,
                                       const std::string& log);

// Whether the agent says that it gave up a slow cfm-app since everything was
// equal last.
bool AgentGaveUp(const Node& node);

}  // namespace survival

#endif
