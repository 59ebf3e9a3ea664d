#include "subscriptions.h"

#include "calendar.h"

namespace agentd {
namespace {

constexpr std::size_t kMostLost = 16;

}  // namespace

void Subscriptions::Add(Listener* listener) {
  listeners_.push_back(listener);
  std::erase_if(lost_, [listener](const cfm::agent::SubscriberStatus& lost) {
    return lost.name() == listener->Name();
  });
}

void Subscriptions::Remove(const Listener* listener) {
  std::erase(listeners_, listener);
  for (const std::int32_t priority : PrioritiesOf(*listener)) {
    cfm::agent::SubscriberStatus& lost = lost_.emplace_back();
    listener->Describe(priority, lost);
    lost.set_since(CalendarNow());
    lost.clear_silent_seconds();
  }
  if (lost_.size() > kMostLost) {
    lost_.erase(lost_.begin(), lost_.end() - kMostLost);
  }
}

void Subscriptions::Describe(cfm::agent::Status& status) const {
  for (const Listener* listener : listeners_) {
    for (const std::int32_t priority : PrioritiesOf(*listener)) {
      listener->Describe(priority, *status.add_subscribers());
    }
  }
  for (const cfm::agent::SubscriberStatus& lost : lost_) {
    *status.add_lost_subscribers() = lost;
  }
}

std::set<std::int32_t> PrioritiesOf(const Listener& listener) {
  std::set<std::int32_t> priorities;
  for (const SubscribedPoint& point : listener.Points()) {
    priorities.insert(point.priority);
  }
  return priorities;
}

}  // namespace agentd
