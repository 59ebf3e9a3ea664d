#include "announcements.h"

#include <utility>
#include <vector>

namespace velmw {

int Announcements::Add(AgentStateHandler handler) {
  handlers_.emplace(next_, std::move(handler));
  return next_++;
}

void Announcements::Remove(int registration) {
  handlers_.erase(registration);
}

void Announcements::Announce(AgentState state) const {
  std::vector<int> registrations;
  for (const auto& [registration, handler] : handlers_) {
    registrations.push_back(registration);
  }
  for (const int registration : registrations) {
    const auto found = handlers_.find(registration);
    if (found != handlers_.end()) {
      const AgentStateHandler handler = found->second;  // it may remove itself
      handler(state);
    }
  }
}

}  // namespace velmw
