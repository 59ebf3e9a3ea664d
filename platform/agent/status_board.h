// The agent's own state, for front ends that ask for it or watch it.
#ifndef AGENT_STATUS_BOARD_H
#define AGENT_STATUS_BOARD_H

#include <functional>
#include <map>
#include <string>

#include "agent.pb.h"

namespace agentd {

class StatusBoard {
 public:
  using Watcher = std::function<void(const cfm::agent::Status& status)>;

  explicit StatusBoard(std::function<cfm::agent::Status()> read) : read_(std::move(read)) {}

  cfm::agent::Status Read() const { return read_(); }

  // `watcher` hears of the status at once and then whenever it is another. It may
  // take itself back in a call.
  void Watch(const void* owner, Watcher watcher);
  void Unwatch(const void* owner) { watchers_.erase(owner); }

  // Something that the status tells may have changed.
  void Changed();

 private:
  struct Entry {
    Watcher watcher;
    std::string last;  // as it was told last
  };
  static void Tell(Entry& entry, const cfm::agent::Status& status, const std::string& text);

  std::function<cfm::agent::Status()> read_;
  std::map<const void*, Entry> watchers_;
};

}  // namespace agentd

#endif
