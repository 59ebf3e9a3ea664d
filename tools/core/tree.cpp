#include "tree.h"

#include <algorithm>

namespace cfmctl {

const TreeNode* FindChild(const TreeNode& parent, std::string_view name) {
  const auto found = std::ranges::find(parent.children, name, &TreeNode::name);
  return found == parent.children.end() ? nullptr : &*found;
}

std::optional<std::string> ChildValue(const TreeNode& parent, std::string_view name) {
  const TreeNode* const leaf = FindChild(parent, name);
  return leaf == nullptr ? std::nullopt : std::optional(leaf->value);
}

std::vector<std::string> ChildValues(const TreeNode& parent, std::string_view name) {
  std::vector<std::string> values;
  for (const TreeNode& child : parent.children) {
    if (child.name == name) {
      values.push_back(child.value);
    }
  }
  return values;
}

}  // namespace cfmctl
