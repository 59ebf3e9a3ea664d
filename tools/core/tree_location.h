// The nodes of a tree that a path names.
#ifndef TOOLS_CORE_TREE_LOCATION_H
#define TOOLS_CORE_TREE_LOCATION_H

#include <vector>

#include "path.h"
#include "tree.h"

namespace cfmctl {

// `top` is what the agent has at EnclosingEntry(path): a list entry, or the
// root above /config, which has no name. Several nodes for a list or leaf-list
// without key; none when there is nothing.
std::vector<const TreeNode*> NodesAt(const TreeNode& top, const Path& path);

}  // namespace cfmctl

#endif
