// The running configuration, for commands that are about its MEPs.
#ifndef TOOLS_COMMANDS_CONFIGURATION_H
#define TOOLS_COMMANDS_CONFIGURATION_H

#include "core/tree.h"
#include "environment.h"

namespace cfmctl {

// The container /config/oam/cfm; an empty one when nothing is configured.
// Throws Failure.
TreeNode ReadConfiguration(const Environment& environment);

}  // namespace cfmctl

#endif
