#include "status_records.h"

#include <algorithm>

#include "status_model.h"

namespace cfmctl {
namespace {

bool BelongsTo(StatusView view, const StatusLeaf& leaf) {
  const bool is_statistics = leaf.origin == LeafOrigin::kStatistics;
  return leaf.origin == LeafOrigin::kIdentity || is_statistics == (view == StatusView::kStatistics);
}

}  // namespace

bool IsSelected(const TreeNode& record, const MepSelection& selection) {
  if (selection.IsEverything()) {
    return true;
  }
  const auto name = NameOfRecord(record);
  return name && selection.Selects(*name);
}

StatusRecords RecordsIn(const TreeNode& node, const MepSelection& selection) {
  const bool is_record =
      node.kind == TreeNode::Kind::kListEntry && FindStatusList(node.name) != nullptr;
  if (is_record) {
    return IsSelected(node, selection) ? StatusRecords{node} : StatusRecords{};
  }
  StatusRecords records;
  for (const TreeNode& child : node.children) {
    std::ranges::move(RecordsIn(child, selection), std::back_inserter(records));
  }
  return records;
}

StatusRecords Narrowed(const StatusRecords& records, StatusView view) {
  StatusRecords narrowed = records;
  for (TreeNode& record : narrowed) {
    std::erase_if(record.children, [&](const TreeNode& child) {
      const StatusLeaf* const leaf = FindStatusLeaf(record.name, child.name);
      return leaf == nullptr || !BelongsTo(view, *leaf);
    });
  }
  return narrowed;
}

std::vector<std::string> LeavesOf(StatusView view) {
  std::vector<std::string> names;
  for (const StatusList& list : StatusModel()) {
    for (const StatusLeaf& leaf : list.leaves) {
      if (BelongsTo(view, leaf)) {
        names.emplace_back(leaf.name);
      }
    }
  }
  return names;
}

}  // namespace cfmctl
