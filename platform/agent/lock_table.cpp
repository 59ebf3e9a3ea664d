#include "lock_table.h"

#include <algorithm>
#include <utility>

#include "fail_point.h"
#include "log.h"

namespace agentd {

void LockTable::Take(Owner owner, std::string name, pid_t pid) {
  holders_.push_back({owner, std::move(name), pid});
  if (awaited_) {
    Watch(holders_.back());
  }
}

void LockTable::Release(Owner owner) {
  std::erase_if(waiting_, [owner](const Waiting& each) { return each.owner == owner; });
  const auto held = std::find_if(holders_.begin(), holders_.end(),
                                 [owner](const Holder& each) { return each.owner == owner; });
  if (held == holders_.end()) {
    return;
  }
  StopWatching(*held);
  holders_.erase(held);
  if (holders_.empty() && on_free_) {
    on_free_();
  }
}

void LockTable::SetAwaited(bool awaited) {
  if (std::exchange(awaited_, awaited) == awaited) {
    return;
  }
  for (const Holder& holder : holders_) {
    if (awaited) {
      Watch(holder);
    } else {
      StopWatching(holder);
    }
  }
}

// The connection of a holder that is given up ends, and with it the lock.
void LockTable::Watch(const Holder& holder) {
  heartbeat_.Await(holder.owner, holder.pid, [name = holder.name](const std::string& why) {
    AGENT_LOG_WARNING("the lock of %s is taken away: it %s", name.c_str(), why.c_str());
    CFM_FAIL_POINT(agent_lock_given_up);
  });
}

// Who is watched by somebody else stays so, under the same owner.
void LockTable::StopWatching(const Holder& holder) {
  if (holder.pid > 0) {
    heartbeat_.Release(holder.owner);
  }
}

void LockTable::GrantWaiting() {
  for (const Waiting& each : std::exchange(waiting_, {})) {
    each.granted();
  }
}

bool LockTable::IsHeldBy(Owner owner) const {
  return std::any_of(holders_.begin(), holders_.end(),
                     [owner](const Holder& each) { return each.owner == owner; });
}

std::string LockTable::Holders() const {
  std::string names;
  for (const Holder& holder : holders_) {
    names += (names.empty() ? "" : ", ") + holder.name;
  }
  return names;
}

}  // namespace agentd
