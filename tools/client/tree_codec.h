// The agent's Node message as a tree.
#ifndef TOOLS_CLIENT_TREE_CODEC_H
#define TOOLS_CLIENT_TREE_CODEC_H

#include "agent.pb.h"
#include "core/tree.h"

namespace cfmctl {

TreeNode ToTree(const cfm::agent::Node& node);

}  // namespace cfmctl

#endif
