// What a new configuration changes, in numbers for a log line.
#ifndef CFM_MANAGER_HIERARCHY_DIFF_H
#define CFM_MANAGER_HIERARCHY_DIFF_H

#include <cstddef>

#include "cfm/hierarchy.h"

namespace cfm {

struct NodeChanges {
  std::size_t added = 0;
  std::size_t removed = 0;
  std::size_t changed = 0;  // its own fields, not what is below it

  bool operator==(const NodeChanges&) const = default;
};

struct HierarchyChanges {
  NodeChanges mds;
  NodeChanges mas;
  NodeChanges meps;

  bool operator==(const HierarchyChanges&) const = default;
};

// Everything below an added or removed node counts as added or removed too.
// Linear in the size of both.
HierarchyChanges CompareHierarchies(const Hierarchy& before, const Hierarchy& after);

struct HierarchySize {
  std::size_t mds = 0;
  std::size_t mas = 0;
  std::size_t meps = 0;

  bool operator==(const HierarchySize&) const = default;
};

HierarchySize CountNodes(const Hierarchy& hierarchy);

}  // namespace cfm

#endif
