// Operational data that programs write: in memory, and only what the model
// says is not configuration. It belongs to nobody: an entry stays until some
// program deletes it.
//
// The entries of a list are in the order of their creation. Creating,
// finding by key, and deleting by key or at either end cost the same however
// many there are.
#ifndef AGENT_OPERATIONAL_STORE_H
#define AGENT_OPERATIONAL_STORE_H

#include <cstdint>
#include <functional>
#include <list>
#include <map>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "agent.pb.h"
#include "instance_path.h"
#include "provider_model.h"

namespace agentd {

struct OperationalEntry;
using EntryPtr = std::shared_ptr<OperationalEntry>;

class OperationalList {
 public:
  const std::list<EntryPtr>& Entries() const { return entries_; }
  std::size_t Size() const { return entries_.size(); }
  // Null when there is none.
  EntryPtr Find(const PathStep& step) const;
  void Add(EntryPtr entry);
  void Remove(const OperationalEntry& entry);

 private:
  struct HashOfKeys {
    std::size_t operator()(const std::vector<std::string>& keys) const;
  };

  std::list<EntryPtr> entries_;
  std::unordered_map<std::vector<std::string>, std::list<EntryPtr>::iterator, HashOfKeys> by_keys_;
};

// Nodes of the model by name, so that walks go the same way in every process.
struct ByName {
  bool operator()(const lysc_node* left, const lysc_node* right) const;
};

// What is written in the top, a container or a list entry: by node of the
// model. Texts are canonical.
struct OperationalNode {
  std::map<const lysc_node*, std::string, ByName> leaves{};
  std::map<const lysc_node*, std::unique_ptr<OperationalNode>, ByName> containers{};
  std::map<const lysc_node*, OperationalList, ByName> lists{};

  // Null when nothing was written there.
  const OperationalNode* Container(const lysc_node& schema) const;
  const OperationalList* List(const lysc_node& schema) const;
};

struct OperationalEntry : OperationalNode {
  InstancePath path{};        // the last step holds its keys
  bool gone = false;          // deleted; whoever still holds it sees what it was
  std::uint64_t version = 0;  // grows with each write below it

  const lysc_node& Schema() const { return *path.back().schema; }
  const std::vector<std::string>& Keys() const { return path.back().keys; }
};

class OperationalStore {
 public:
  OperationalStore(const Model& model, const ProviderModel& providers)
      : model_(model), providers_(providers) {}

  // Problems carry the codes that OperationalWrite names in agent.proto, and
  // CONFD_ERR_NOTCREATABLE, _NOT_WRITABLE or _NOTDELETABLE for what no program
  // may write.
  Problems Create(const cfm::agent::Path& path);
  Problems Set(const cfm::agent::Path& path, const cfm::agent::Value& value);
  // The entries that are gone: the one and those below it.
  Result<std::vector<EntryPtr>> Delete(const cfm::agent::Path& path);

  const OperationalNode& Top() const { return top_; }
  // Of the list that the entry is in, or was in until it was deleted.
  std::size_t EntriesBeside(const OperationalEntry& entry);

  // Called for each entry that was created, written or deleted.
  void OnChange(std::function<void(const EntryPtr&)> on_change) {
    on_change_ = std::move(on_change);
  }

 private:
  OperationalNode* Walk(const InstancePath& path, std::size_t steps, EntryPtr& innermost);
  void Changed(const EntryPtr& entry);

  const Model& model_;
  const ProviderModel& providers_;
  OperationalNode top_;
  std::function<void(const EntryPtr&)> on_change_;
};

// The entries at or below a path, an entry before those inside it.
std::vector<EntryPtr> EntriesBelow(const OperationalNode& top, const InstancePath& path);

// Whether `path` is `above` or leads through it.
bool IsAtOrBelow(const InstancePath& path, const InstancePath& above);

}  // namespace agentd

#endif
