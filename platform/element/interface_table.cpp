#include "interface_table.h"

#include <algorithm>
#include <utility>

namespace elem {
namespace {

// An element has hundreds of interfaces at most, and looks them up when it is
// configured: a walk is quick enough.
template <typename Matches>
const Interface* Find(const std::vector<Interface>& interfaces, Matches matches) {
  const auto found = std::ranges::find_if(interfaces, matches);
  return found != interfaces.end() ? &*found : nullptr;
}

}  // namespace

InterfaceTable::InterfaceTable(std::vector<Interface> interfaces)
    : interfaces_(std::move(interfaces)) {}

const Interface* InterfaceTable::FindByName(std::string_view name) const {
  return Find(interfaces_, [name](const Interface& each) { return each.name == name; });
}

const Interface* InterfaceTable::FindByLimid(std::uint32_t limid) const {
  return Find(interfaces_, [limid](const Interface& each) { return each.limid == limid; });
}

}  // namespace elem
