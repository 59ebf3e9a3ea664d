// A configuration hierarchy as text, so that tests compare two of them with
// one EXPECT_EQ and see where they differ.
#ifndef TESTS_SUPPORT_HIERARCHY_TEXT_H
#define TESTS_SUPPORT_HIERARCHY_TEXT_H

#include <string>

#include "cfm/hierarchy.h"

namespace test {

enum class VlanOrder {
  kExact,
  kAsSet,  // the first stays in front, the others are sorted
};

// Every field of every node, one line per node.
std::string ToText(const cfm::Hierarchy& hierarchy, VlanOrder order = VlanOrder::kExact);

}  // namespace test

#endif
