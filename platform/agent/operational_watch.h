// Who watches operational data, and what changed since they were told.
#ifndef AGENT_OPERATIONAL_WATCH_H
#define AGENT_OPERATIONAL_WATCH_H

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "operational_store.h"
#include "timer.h"

namespace agentd {

class OperationalWatch {
 public:
  using Changes = std::vector<cfm::agent::OperationalChange>;
  // May end the watcher, and so call Unwatch.
  using Tell = std::function<void(const Changes& changes)>;

  OperationalWatch(sd_event* loop, OperationalStore& store);

  // Returns the entries at or below the path; `tell` is called after each turn
  // of the loop in which some of them changed. One watch for an owner.
  Changes Watch(const void* owner, InstancePath path, Tell tell);
  void Unwatch(const void* owner) { watchers_.erase(owner); }

 private:
  struct Watcher {
    InstancePath path;
    Tell tell;
  };
  void OnChange(const EntryPtr& entry);
  void Flush();

  const OperationalStore& store_;
  std::map<const void*, Watcher> watchers_;
  std::vector<EntryPtr> changed_;                    // in the order of their first change
  std::map<const OperationalEntry*, bool> was_new_;  // of those
  Timer soon_;
};

// A path that can be watched: containers and lists that are not configuration;
// empty is everything.
Result<InstancePath> ParseWatchPath(const Model& model, const std::string& path);

}  // namespace agentd

#endif
