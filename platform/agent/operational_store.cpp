#include "operational_store.h"

#include <confd_lib.h>

#include <algorithm>
#include <cstring>
#include <functional>

#include "fail_point.h"
#include "typed_value.h"

namespace agentd {
namespace {

// From whichever end is nearer.
EntryPtr AtPosition(const std::list<EntryPtr>& entries, std::size_t position) {
  if (position >= entries.size()) {
    return nullptr;
  }
  if (position < entries.size() / 2) {
    return *std::next(entries.begin(), static_cast<std::ptrdiff_t>(position));
  }
  return *std::prev(entries.end(), static_cast<std::ptrdiff_t>(entries.size() - position));
}

bool NamesOne(const PathStep& step) {
  return step.schema->nodetype != LYS_LIST || !step.keys.empty() || step.position.has_value();
}

// What a write needs of its path, whatever it does there.
Problems CheckWay(const char* operation, const InstancePath& path, int code_of_configuration) {
  const auto refused = [&](const std::string& cause, int code) {
    return Problems{{.message = operation + (" " + TextOf(path)) + ": " + cause,
                     .path = TextOf(path),
                     .code = code}};
  };
  if ((path.back().schema->flags & LYS_CONFIG_R) == 0) {
    return refused("it is configuration, which only commits change", code_of_configuration);
  }
  for (const PathStep& step : path) {
    if (!NamesOne(step)) {
      return refused("the path does not say which entry of '" + NameOf(*step.schema) + "'",
                     CONFD_ERR_BADPATH);
    }
  }
  return {};
}

Problems Refused(const char* operation, const InstancePath& path, const std::string& cause,
                 int code) {
  return {{.message = operation + (" " + TextOf(path)) + ": " + cause,
           .path = TextOf(path),
           .code = code}};
}

constexpr const char* kNoEntry = "there is no such entry";

void Gather(const OperationalNode& node, std::vector<EntryPtr>& out) {
  for (const auto& [schema, container] : node.containers) {
    Gather(*container, out);
  }
  for (const auto& [schema, list] : node.lists) {
    for (const EntryPtr& entry : list.Entries()) {
      out.push_back(entry);
      Gather(*entry, out);
    }
  }
}

}  // namespace

bool ByName::operator()(const lysc_node* left, const lysc_node* right) const {
  const int order = std::strcmp(left->name, right->name);
  return order != 0 ? order < 0 : std::less<>()(left, right);
}

std::size_t OperationalList::HashOfKeys::operator()(const std::vector<std::string>& keys) const {
  std::size_t hash = keys.size();
  for (const std::string& key : keys) {
    hash = hash * 31 + std::hash<std::string>()(key);
  }
  return hash;
}

EntryPtr OperationalList::Find(const PathStep& step) const {
  if (step.impossible) {
    return nullptr;
  }
  if (step.position) {
    return AtPosition(entries_, *step.position);
  }
  const auto found = by_keys_.find(step.keys);
  return found != by_keys_.end() ? *found->second : nullptr;
}

void OperationalList::Add(EntryPtr entry) {
  const auto keys = entry->Keys();
  by_keys_[keys] = entries_.insert(entries_.end(), std::move(entry));
}

void OperationalList::Remove(const OperationalEntry& entry) {
  const auto found = by_keys_.find(entry.Keys());
  const auto place = found->second;
  by_keys_.erase(found);
  entries_.erase(place);
}

const OperationalNode* OperationalNode::Container(const lysc_node& schema) const {
  const auto found = containers.find(&schema);
  return found != containers.end() ? found->second.get() : nullptr;
}

const OperationalList* OperationalNode::List(const lysc_node& schema) const {
  const auto found = lists.find(&schema);
  return found != lists.end() ? &found->second : nullptr;
}

// Where the first `steps` steps lead; containers come into being on the way.
// Null when an entry is missing. `innermost` becomes the last entry passed.
OperationalNode* OperationalStore::Walk(const InstancePath& path, std::size_t steps,
                                        EntryPtr& innermost) {
  OperationalNode* node = &top_;
  for (std::size_t i = 0; i < steps; ++i) {
    const PathStep& step = path[i];
    if (step.schema->nodetype == LYS_LIST) {
      innermost = node->lists[step.schema].Find(step);
      if (innermost == nullptr) {
        return nullptr;
      }
      node = innermost.get();
    } else {
      auto& container = node->containers[step.schema];
      if (container == nullptr) {
        container = std::make_unique<OperationalNode>();
      }
      node = container.get();
    }
  }
  return node;
}

void OperationalStore::Changed(const EntryPtr& entry) {
  if (entry != nullptr) {
    ++entry->version;
    if (on_change_) {
      on_change_(entry);
    }
  }
}

Problems OperationalStore::Create(const cfm::agent::Path& given) {
  const auto path = ResolvePath(model_, given);
  if (!path) {
    return path.Why();
  }
  if (Problems problems = CheckWay("create", *path, CONFD_ERR_NOTCREATABLE); !problems.empty()) {
    return problems;
  }
  const PathStep& last = path->back();
  if (last.schema->nodetype != LYS_LIST) {
    return Refused("create", *path, "it is no list entry", CONFD_ERR_NOTCREATABLE);
  }
  if (last.position) {
    return Refused("create", *path, "a new entry needs its key", CONFD_ERR_BADPATH);
  }
  if (last.impossible) {
    return Refused("create", *path, "the key's type does not allow the value", CONFD_ERR_BADTYPE);
  }
  EntryPtr around;
  OperationalNode* parent = Walk(*path, path->size() - 1, around);
  if (parent == nullptr) {
    return Refused("create", *path, "what it would stand in does not exist", CONFD_ERR_NOEXISTS);
  }
  OperationalList& list = parent->lists[last.schema];
  if (list.Find(last) != nullptr) {
    return Refused("create", *path, "the entry is there already", CONFD_ERR_ALREADY_EXISTS);
  }
  auto entry = std::make_shared<OperationalEntry>();
  entry->path = around != nullptr ? around->path : InstancePath{};
  entry->path.insert(entry->path.end(),
                     path->begin() + static_cast<std::ptrdiff_t>(entry->path.size()), path->end());
  CFM_FAIL_POINT(agent_creating);
  list.Add(entry);
  Changed(entry);
  CFM_FAIL_POINT(agent_created);
  return {};
}

Problems OperationalStore::Set(const cfm::agent::Path& given, const cfm::agent::Value& value) {
  const auto path = ResolvePath(model_, given);
  if (!path) {
    return path.Why();
  }
  if (Problems problems = CheckWay("set", *path, CONFD_ERR_NOT_WRITABLE); !problems.empty()) {
    return problems;
  }
  const lysc_node& leaf = *path->back().schema;
  if (leaf.nodetype != LYS_LEAF || IsKey(leaf) || providers_.IsComputed(leaf)) {
    return Refused("set", *path, "it is no leaf that can be written", CONFD_ERR_NOT_WRITABLE);
  }
  EntryPtr entry;
  OperationalNode* parent = Walk(*path, path->size() - 1, entry);
  if (parent == nullptr) {
    return Refused("set", *path, kNoEntry, CONFD_ERR_NOEXISTS);
  }
  auto text = CheckedText(model_, leaf, value);
  if (!text) {
    return Refused("set", *path, text.Why().front().message, CONFD_ERR_BADTYPE);
  }
  const auto [stored, is_first] = parent->leaves.try_emplace(&leaf);
  if (is_first || stored->second != *text) {
    CFM_FAIL_POINT(agent_setting);
    stored->second = std::move(*text);
    Changed(entry);
    CFM_FAIL_POINT(agent_set);
  }
  return {};
}

Result<std::vector<EntryPtr>> OperationalStore::Delete(const cfm::agent::Path& given) {
  const auto path = ResolvePath(model_, given);
  if (!path) {
    return path.Why();
  }
  if (Problems problems = CheckWay("delete", *path, CONFD_ERR_NOTDELETABLE); !problems.empty()) {
    return problems;
  }
  const PathStep& last = path->back();
  if (last.schema->nodetype != LYS_LIST) {
    return Refused("delete", *path, "it is no list entry", CONFD_ERR_NOTDELETABLE);
  }
  EntryPtr around;
  OperationalNode* parent = Walk(*path, path->size() - 1, around);
  const EntryPtr entry = parent != nullptr ? parent->lists[last.schema].Find(last) : nullptr;
  if (entry == nullptr) {
    return Refused("delete", *path, kNoEntry, CONFD_ERR_NOEXISTS);
  }
  CFM_FAIL_POINT(agent_deleting);
  parent->lists[last.schema].Remove(*entry);
  std::vector<EntryPtr> gone{entry};
  Gather(*entry, gone);
  for (const EntryPtr& each : gone) {
    each->gone = true;
    Changed(each);
  }
  CFM_FAIL_POINT(agent_deleted);
  return gone;
}

std::size_t OperationalStore::EntriesBeside(const OperationalEntry& entry) {
  EntryPtr around;
  OperationalNode* parent = Walk(entry.path, entry.path.size() - 1, around);
  return parent != nullptr ? parent->lists[&entry.Schema()].Size() : 0;
}

std::vector<EntryPtr> EntriesBelow(const OperationalNode& top, const InstancePath& path) {
  std::vector<EntryPtr> found;
  const OperationalNode* node = &top;
  EntryPtr around;  // the entry that the path leads through or to
  for (const PathStep& step : path) {
    if (step.schema->nodetype == LYS_CONTAINER) {
      node = node->Container(*step.schema);
    } else if (step.schema->nodetype == LYS_LIST) {
      const OperationalList* list = node->List(*step.schema);
      if (list != nullptr && !NamesOne(step)) {
        for (const EntryPtr& entry : list->Entries()) {
          found.push_back(entry);
          Gather(*entry, found);
        }
        return found;
      }
      around = list != nullptr ? list->Find(step) : nullptr;
      node = around.get();
    } else {
      break;  // a leaf
    }
    if (node == nullptr) {
      return {};
    }
  }
  if (around != nullptr) {
    found.push_back(around);
  }
  Gather(*node, found);
  return found;
}

bool IsAtOrBelow(const InstancePath& path, const InstancePath& above) {
  const auto matches = [](const PathStep& wanted, const PathStep& step) {
    return wanted.schema == step.schema && (wanted.keys.empty() || wanted.keys == step.keys);
  };
  return path.size() >= above.size() &&
         std::equal(above.begin(), above.end(), path.begin(), matches);
}

}  // namespace agentd
