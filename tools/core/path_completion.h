// How the beginning of a path can go on.
#ifndef TOOLS_CORE_PATH_COMPLETION_H
#define TOOLS_CORE_PATH_COMPLETION_H

#include <string>
#include <string_view>
#include <vector>

#include "tree.h"

namespace cfmctl {

// Whole paths that begin with `partial`, one step further: node names of the
// model, and keys of the entries in `cfm`, the container /config/oam/cfm. A
// path that can only end here ends with a blank. Nothing for what is no
// beginning of a path.
std::vector<std::string> CompletePath(std::string_view partial, const TreeNode& cfm);

// Values of the enumeration that the path names; none for other nodes.
std::vector<std::string> CompleteValue(std::string_view path);

}  // namespace cfmctl

#endif
