#include "read_plan.h"

namespace agentd {
namespace {

// Whether one of the two is the other or stands in it.
bool IsOnOneLine(const lysc_node* leaf, const lysc_node* end) {
  const auto is_in = [](const lysc_node* node, const lysc_node* outer) {
    while (node != nullptr && node != outer) {
      node = node->parent;
    }
    return node != nullptr;
  };
  return end == nullptr || is_in(leaf, end) || is_in(end, leaf);
}

}  // namespace

ReadPlan::ReadPlan(const OperationalNode& top, const ProviderModel& providers,
                   const InstancePath& path, const ReadScope& scope) {
  const lysc_node* end = path.empty() ? nullptr : path.back().schema;
  for (EntryPtr& entry : EntriesBelow(top, path)) {
    if (!scope.Admits(*entry)) {
      continue;
    }
    const lysc_node& list = entry->Schema();
    const auto [leaves, is_new] = leaves_.try_emplace(&list);
    if (is_new) {
      for (const ComputedLeaf& leaf : providers.LeavesOf(list)) {
        if (IsOnOneLine(leaf.schema, end) && scope.Wants(*leaf.schema)) {
          leaves->second.push_back(&leaf);
        }
      }
    }
    targets_.push_back({std::move(entry), &leaves->second, {}});
  }
}

std::optional<ReadPlan::Question> ReadPlan::Front() {
  while (target_ < targets_.size()) {
    const Target& target = targets_[target_];
    if (!target.entry->gone && leaf_ < target.leaves->size()) {
      return Question{target_, (*target.leaves)[leaf_]};
    }
    ++target_;
    leaf_ = 0;
  }
  return std::nullopt;
}

}  // namespace agentd
