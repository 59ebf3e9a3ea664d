// The configuration as tables for people: MDs, MAs, MEPs.
#ifndef TOOLS_CORE_CONFIGURATION_TABLES_H
#define TOOLS_CORE_CONFIGURATION_TABLES_H

#include <string>

#include "path.h"
#include "tree.h"

namespace cfmctl {

// What `path` names in `top`, which is as NodesAt wants it. A leaf and a part
// of the model below a MEP become a table of node and value. Empty text when
// there is nothing.
std::string ConfigurationTables(const TreeNode& top, const Path& path);

}  // namespace cfmctl

#endif
