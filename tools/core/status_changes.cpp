#include "status_changes.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "defects.h"
#include "escape.h"
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
  return leaf == "defects" ? WithMeaning(*value) : Visible(*value);
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
  const auto known = records_.try_emplace(path).first;
  const TreeNode before = std::exchange(known->second, entry ? std::move(*entry) : TreeNode());
  std::vector<StatusChange> changes = Compare(before, known->second);
  if (!entry) {
    records_.erase(known);
  }
  return changes;
}

const TreeNode* StatusBoard::Find(const std::string& path) const {
  const auto found = records_.find(path);
  return found == records_.end() ? nullptr : &found->second;
}

std::size_t StatusBoard::Count(const MepSelection& selection) const {
  return static_cast<std::size_t>(std::ranges::count_if(
      records_, [&](const auto& record) { return IsSelected(record.second, selection); }));
}

}  // namespace cfmctl
