#include "status_board.h"

namespace agentd {

void StatusBoard::Tell(Entry& entry, const cfm::agent::Status& status, const std::string& text) {
  entry.last = text;
  const Watcher watcher = entry.watcher;  // its call may end the entry
  watcher(status);
}

void StatusBoard::Watch(const void* owner, Watcher watcher) {
  const cfm::agent::Status status = Read();
  Tell(watchers_[owner] = {std::move(watcher), {}}, status, status.SerializeAsString());
}

void StatusBoard::Changed() {
  if (watchers_.empty()) {
    return;
  }
  const cfm::agent::Status status = Read();
  const std::string text = status.SerializeAsString();
  for (auto next = watchers_.begin(); next != watchers_.end();) {
    Entry& entry = next++->second;
    if (entry.last != text) {
      Tell(entry, status, text);
    }
  }
}

}  // namespace agentd
