#include "subscriptions.h"

namespace agentd {

std::set<std::int32_t> PrioritiesOf(const Listener& listener) {
  std::set<std::int32_t> priorities;
  for (const SubscribedPoint& point : listener.Points()) {
    priorities.insert(point.priority);
  }
  return priorities;
}

}  // namespace agentd
