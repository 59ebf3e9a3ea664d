#include "status_changes.h"

#include <fmt/format.h>

#include "defects.h"
#include "status_model.h"

namespace cfmctl {
namespace {

std::string_view TellingLeaf(const MepName& name) {
  return name.is_remote ? "state" : "defects";
}

// Of a record that people know of.
std::optional<MepName> KnownName(const TreeNode& record) {
  const auto name = NameOfRecord(record);
  return name && FindChild(record, TellingLeaf(*name)) != nullptr ? name : std::nullopt;
}

std::string ValueText(const std::string& leaf, const std::optional<std::string>& value) {
  if (!value) {
    return "none";
  }
  return leaf == "defects" ? WithMeaning(*value) : *value;
}

StatusChange Appearance(const MepName& name, const TreeNode& record) {
  const std::string leaf(TellingLeaf(name));
  return {StatusChange::Kind::kAppeared, name, leaf, {}, ChildValue(record, leaf)};
}

StatusChange Departure(const MepName& name) {
  return {StatusChange::Kind::kWentAway, name, {}, {}, {}};
}

void AddLeafChanges(const MepName& name, const TreeNode& before, const TreeNode& after,
                    std::vector<StatusChange>& changes) {
  const StatusList* const list = FindStatusList(after.name);
  if (list == nullptr) {
    return;
  }
  for (const StatusLeaf& leaf : list->leaves) {
    if (leaf.origin != LeafOrigin::kWritten) {
      continue;
    }
    auto old_value = ChildValue(before, leaf.name);
    auto new_value = ChildValue(after, leaf.name);
    if (old_value && old_value != new_value) {
      changes.push_back({StatusChange::Kind::kChanged, name, std::string(leaf.name),
                         std::move(old_value), std::move(new_value)});
    }
  }
}

std::vector<StatusChange> Compare(const TreeNode& before, const TreeNode& after) {
  const auto old_name = KnownName(before);
  const auto new_name = KnownName(after);
  // Several local MEPs may report a remote MEP in turn: it stays the same.
  const bool is_same =
      old_name && new_name && WithoutObserver(*old_name) == WithoutObserver(*new_name);
  std::vector<StatusChange> changes;
  if (is_same) {
    AddLeafChanges(*new_name, before, after, changes);
    return changes;
  }
  if (old_name) {
    changes.push_back(Departure(*old_name));
  }
  if (new_name) {
    changes.push_back(Appearance(*new_name, after));
  }
  return changes;
}

}  // namespace

std::string ToText(const StatusChange& change) {
  const std::string name = ToText(change.name);
  switch (change.kind) {
    case StatusChange::Kind::kAppeared:
      return fmt::format("{} appeared, {} {}", name, change.leaf,
                         ValueText(change.leaf, change.after));
    case StatusChange::Kind::kWentAway:
      return name + " went away";
    case StatusChange::Kind::kChanged:
      break;
  }
  return fmt::format("{}: {} {} -> {}", name, change.leaf, ValueText(change.leaf, change.before),
                     ValueText(change.leaf, change.after));
}

std::vector<StatusChange> StatusBoard::Apply(const std::string& path,
                                             std::optional<TreeNode> entry) {
  const auto known = records_.find(path);
  const TreeNode before = known == records_.end() ? TreeNode() : known->second;
  const TreeNode after = entry.value_or(TreeNode());
  if (entry) {
    records_.insert_or_assign(path, std::move(*entry));
  } else {
    records_.erase(path);
  }
  return Compare(before, after);
}

std::vector<const TreeNode*> StatusBoard::Records(const MepSelection& selection) const {
  std::vector<const TreeNode*> records;
  for (const auto& [path, record] : records_) {
    if (IsSelected(record, selection)) {
      records.push_back(&record);
    }
  }
  return records;
}

std::vector<std::string> StatusBoard::Paths(const MepSelection& selection) const {
  std::vector<std::string> paths;
  for (const auto& [path, record] : records_) {
    if (IsSelected(record, selection)) {
      paths.push_back(path);
    }
  }
  return paths;
}

}  // namespace cfmctl
