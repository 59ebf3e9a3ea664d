// What a script waits for, such as "state=rmep-ok" or "defect!=R".
#ifndef TOOLS_CORE_STATUS_CONDITION_H
#define TOOLS_CORE_STATUS_CONDITION_H

#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "tree.h"

namespace cfmctl {

// What was typed is no condition; says which and why.
class ConditionError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

struct StatusCondition {
  std::string leaf;
  bool equal = true;
  std::string value;
};

// LEAF=VALUE or LEAF!=VALUE. LEAF is a leaf that is written to the records, or
// "defect", whose values are the letters in the leaf "defects". Throws
// ConditionError.
StatusCondition ParseCondition(std::string_view text);

// Conditions that begin with `partial`, for the shell's completion.
std::vector<std::string> CompleteCondition(std::string_view partial);

// The leaf of the records that the condition looks at.
std::string_view LeafOf(const StatusCondition& condition);
// Whether it is about the records of that list: "local", "remote".
bool Concerns(const StatusCondition& condition, std::string_view list);
// Why it does not hold for a record of such a list; empty when it holds.
std::string Obstacle(const StatusCondition& condition, const TreeNode& record);

}  // namespace cfmctl

#endif
