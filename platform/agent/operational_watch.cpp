#include "operational_watch.h"

#include "operational_tree.h"

namespace agentd {
namespace {

cfm::agent::OperationalChange ChangeOf(const OperationalEntry& entry) {
  cfm::agent::OperationalChange change;
  change.set_path(TextOf(entry.path));
  if (!entry.gone) {
    *change.mutable_entry() = NodeOf(entry);
  }
  return change;
}

}  // namespace

OperationalWatch::OperationalWatch(sd_event* loop, OperationalStore& store)
    : store_(store), soon_(loop, [this] { Flush(); }) {
  store.OnChange([this](const EntryPtr& entry) { OnChange(entry); });
}

OperationalWatch::Changes OperationalWatch::Watch(const void* owner, InstancePath path, Tell tell) {
  Flush();  // what came before is in what it is told now
  Changes all;
  for (const EntryPtr& entry : EntriesBelow(store_.Top(), path)) {
    all.push_back(ChangeOf(*entry));
  }
  watchers_[owner] = {std::move(path), std::move(tell)};
  return all;
}

void OperationalWatch::OnChange(const EntryPtr& entry) {
  if (watchers_.empty()) {
    return;
  }
  constexpr std::uint64_t kFirstVersion = 1;
  if (was_new_.emplace(entry.get(), entry->version == kFirstVersion).second) {
    if (changed_.empty()) {
      soon_.Set(std::chrono::microseconds(0));
    }
    changed_.push_back(entry);
  }
}

void OperationalWatch::Flush() {
  soon_.Cancel();
  const auto changed = std::exchange(changed_, {});
  const auto was_new = std::exchange(was_new_, {});
  if (changed.empty()) {
    return;
  }
  // Telling one may end it or others.
  const auto watchers = watchers_;
  for (const auto& [owner, watcher] : watchers) {
    Changes changes;
    for (const EntryPtr& entry : changed) {
      const bool came_and_went = entry->gone && was_new.at(entry.get());
      if (!came_and_went && IsAtOrBelow(entry->path, watcher.path)) {
        changes.push_back(ChangeOf(*entry));
      }
    }
    if (!changes.empty() && watchers_.contains(owner)) {
      watcher.tell(changes);
    }
  }
}

Result<InstancePath> ParseWatchPath(const Model& model, const std::string& path) {
  if (path.empty()) {
    return InstancePath{};
  }
  auto parsed = ParsePath(model, path);
  if (!parsed) {
    return parsed;
  }
  const lysc_node& last = *parsed->back().schema;
  if ((last.nodetype & (LYS_CONTAINER | LYS_LIST)) == 0 || (last.flags & LYS_CONFIG_R) == 0) {
    return Problem{.message = "watch: the path is no container or list of operational data",
                   .path = TextOf(*parsed)};
  }
  return parsed;
}

}  // namespace agentd
