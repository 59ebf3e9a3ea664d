#include "tree_location.h"

namespace cfmctl {
namespace {

bool Matches(const TreeNode& node, const PathStep& step) {
  if (node.name != step.name || !step.key) {
    return node.name == step.name;
  }
  const bool is_entry = node.kind == TreeNode::Kind::kListEntry;
  return *step.key == (is_entry ? ChildValue(node, "id").value_or("") : node.value);
}

std::vector<const TreeNode*> ChildrenAt(const std::vector<const TreeNode*>& parents,
                                        const PathStep& step) {
  std::vector<const TreeNode*> found;
  for (const TreeNode* parent : parents) {
    for (const TreeNode& child : parent->children) {
      if (Matches(child, step)) {
        found.push_back(&child);
      }
    }
  }
  return found;
}

}  // namespace

std::vector<const TreeNode*> NodesAt(const TreeNode& top, const Path& path) {
  const std::size_t above = EnclosingEntry(path).steps.size();
  const bool is_expected_top =
      above == 0 ? top.name.empty() : top.kind == TreeNode::Kind::kListEntry;
  if (!is_expected_top) {
    return {};
  }
  std::vector<PathStep> steps(path.steps.begin() + static_cast<long>(above), path.steps.end());
  if (above == 0) {
    steps.insert(steps.begin(), {{"config", {}}, {"oam", {}}, {"cfm", {}}});
  }
  std::vector<const TreeNode*> nodes{&top};
  for (const PathStep& step : steps) {
    nodes = ChildrenAt(nodes, step);
  }
  return nodes;
}

}  // namespace cfmctl
