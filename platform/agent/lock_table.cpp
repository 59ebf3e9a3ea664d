#include "lock_table.h"

#include <utility>

namespace agentd {

void LockTable::Release(Owner owner) {
  const auto is_its = [owner](const auto& each) { return each.owner == owner; };
  std::erase_if(waiting_, is_its);
  if (std::erase_if(holders_, is_its) > 0 && holders_.empty() && on_free_) {
    on_free_();
  }
}

void LockTable::GrantWaiting() {
  for (const Waiting& each : std::exchange(waiting_, {})) {
    each.granted();
  }
}

std::string LockTable::Holders() const {
  std::string names;
  for (const Holder& holder : holders_) {
    names += (names.empty() ? "" : ", ") + holder.name;
  }
  return names;
}

}  // namespace agentd
