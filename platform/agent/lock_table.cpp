#include "lock_table.h"

#include <utility>

namespace agentd {

void LockTable::Release(Owner owner) {
  waiting_.erase(owner);
  if (holders_.erase(owner) > 0 && holders_.empty() && on_free_) {
    on_free_();
  }
}

void LockTable::GrantWaiting() {
  for (const auto& [owner, granted] : std::exchange(waiting_, {})) {
    granted();
  }
}

std::string LockTable::Holders() const {
  std::string names;
  for (const auto& [owner, name] : holders_) {
    names += (names.empty() ? "" : ", ") + name;
  }
  return names;
}

}  // namespace agentd
