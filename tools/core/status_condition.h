// What a script waits for, such as "state=rmep-ok" or "defect!=R".
#ifndef TOOLS_CORE_STATUS_CONDITION_H
#define TOOLS_CORE_STATUS_CONDITION_H

#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "mep_name.h"
#include "status_records.h"

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

// Lines that say where the condition does not hold; none when it holds. With =
// every MEP has the value, with != none; a MEP has to have the leaf in either
// case. The MEPs are those of the records, at least one, and those that are
// expected.
std::vector<std::string> Unmet(const StatusCondition& condition,
                               const std::vector<const TreeNode*>& records,
                               const std::vector<MepName>& expected);

}  // namespace cfmctl

#endif
