// Whether two hierarchies say the same.
#ifndef TOOLS_CORE_HIERARCHY_COMPARISON_H
#define TOOLS_CORE_HIERARCHY_COMPARISON_H

#include <string>
#include <vector>

#include "cfm/hierarchy.h"

namespace cfmctl {

struct Difference {
  std::string where;     // md{east}/ma{blue}/mep{5}
  std::string field;     // empty: the whole entry
  std::string expected;  // empty: there should be none
  std::string held;      // empty: there is none
};

// Every difference, in the order of the entries. The primary VLAN counts as
// first of its list; the order of the others means nothing.
std::vector<Difference> Compare(const cfm::Hierarchy& expected, const cfm::Hierarchy& held);

// One line: what, where, what was expected.
std::string ToText(const Difference& difference);

}  // namespace cfmctl

#endif
