// Configuration data as names and texts.
#ifndef TOOLS_CORE_TREE_H
#define TOOLS_CORE_TREE_H

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace cfmctl {

struct TreeNode {
  enum class Kind { kContainer, kListEntry, kLeaf, kLeafListElement };

  Kind kind = Kind::kContainer;
  std::string name;
  std::string value;  // of a leaf or leaf-list element
  bool is_default = false;
  std::vector<TreeNode> children;
};

// First child of that name; null when there is none.
const TreeNode* FindChild(const TreeNode& parent, std::string_view name);
// Value of the child leaf; nothing when it is not there.
std::optional<std::string> ChildValue(const TreeNode& parent, std::string_view name);
// Values of the child leaf-list, in its order.
std::vector<std::string> ChildValues(const TreeNode& parent, std::string_view name);

}  // namespace cfmctl

#endif
