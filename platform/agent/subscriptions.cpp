#include "subscriptions.h"

#include <algorithm>

#include "calendar.h"
#include "change_report.h"

namespace agentd {
namespace {

constexpr std::size_t kMostLost = 16;

}  // namespace

void Subscriptions::Add(Listener* listener) {
  listeners_.push_back(listener);
  std::erase_if(lost_, [listener](const Lost& lost) { return lost.name == listener->Name(); });
}

void Subscriptions::Remove(const Listener* listener) {
  std::erase(listeners_, listener);
  const bool is_behind = behind_.erase(listener) > 0;
  if (!is_behind && Has(listener->Name())) {
    return;
  }
  Lost& lost = lost_.emplace_back(Lost{.name = listener->Name(),
                                       .description = listener->Describe(),
                                       .since = CalendarNow(),
                                       .points = listener->Points(),
                                       .is_behind = is_behind,
                                       .statuses = {}});
  for (const std::int32_t priority : PrioritiesOf(*listener)) {
    cfm::agent::SubscriberStatus& status = lost.statuses.emplace_back();
    listener->Describe(priority, status);
    status.set_since(lost.since);
    status.clear_silent_seconds();
  }
  if (lost_.size() > kMostLost) {
    ForgetOldest();
  }
}

bool Subscriptions::Has(const std::string& name) const {
  return std::any_of(listeners_.begin(), listeners_.end(),
                     [&](const Listener* each) { return each->Name() == name; });
}

// Of the programs that ended in order, as long as there are any: those that are
// behind matter to every commit.
void Subscriptions::ForgetOldest() {
  const auto oldest =
      std::find_if(lost_.begin(), lost_.end(), [](const Lost& lost) { return !lost.is_behind; });
  lost_.erase(oldest != lost_.end() ? oldest : lost_.begin());
}

void Subscriptions::FallBehind(pid_t pid) {
  for (const Listener* listener : listeners_) {
    if (listener->Pid() == pid) {
      FallBehind(listener);
    }
  }
}

std::vector<std::string> Subscriptions::Behind(const Model& model,
                                               const cfm::agent::Change& changes) const {
  std::vector<std::string> lines;
  std::set<std::string> named;
  for (const Lost& lost : lost_) {
    const bool misses_it =
        lost.is_behind &&
        std::any_of(lost.points.begin(), lost.points.end(), [&](const SubscribedPoint& point) {
          return Touches(model, changes, point.path);
        });
    if (misses_it && named.insert(lost.description).second) {
      lines.push_back("subscriber " + lost.description + " is gone since " +
                      CalendarText(lost.since) +
                      " and has not come back: it has not dealt with the change; the change is "
                      "committed");
    }
  }
  return lines;
}

void Subscriptions::Describe(cfm::agent::Status& status) const {
  for (const Listener* listener : listeners_) {
    for (const std::int32_t priority : PrioritiesOf(*listener)) {
      listener->Describe(priority, *status.add_subscribers());
    }
  }
  for (const Lost& lost : lost_) {
    if (!Has(lost.name)) {
      status.mutable_lost_subscribers()->Add(lost.statuses.begin(), lost.statuses.end());
    }
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
