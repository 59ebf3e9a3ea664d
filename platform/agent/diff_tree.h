// Reading the trees that lyd_diff_siblings makes: every node carries, or
// inherits, an operation, and a leaf what it was before.
#ifndef AGENT_DIFF_TREE_H
#define AGENT_DIFF_TREE_H

#include "yang.h"

namespace agentd {

enum class DiffOp { kNone, kCreate, kDelete, kReplace };

// Operation of a node; that of its parent when it has none of its own.
DiffOp OperationOf(const lyd_node& node, DiffOp inherited);

// Canonical value that a replaced leaf had before.
const char* OriginalValue(const lyd_node& node);

}  // namespace agentd

#endif
