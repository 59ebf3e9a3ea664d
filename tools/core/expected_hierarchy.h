// What the CFM manager has to hold for a committed configuration. Written
// apart from the daemon on purpose: it is the second opinion that
// "cfmctl verify" compares the daemon's work with.
#ifndef TOOLS_CORE_EXPECTED_HIERARCHY_H
#define TOOLS_CORE_EXPECTED_HIERARCHY_H

#include <cstdint>
#include <functional>
#include <stdexcept>
#include <string>

#include "cfm/hierarchy.h"
#include "tree.h"

namespace cfmctl {

// The configuration holds what no hierarchy can say.
class ConversionError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Logical interface id of an interface; 0 when there is none of that name.
using InterfaceIds = std::function<std::uint32_t(const std::string& name)>;

// `cfm` is the container /config/oam/cfm with defaults filled in. Throws
// ConversionError naming the node.
cfm::Hierarchy ExpectedHierarchy(const TreeNode& cfm, const InterfaceIds& interface_ids);

}  // namespace cfmctl

#endif
