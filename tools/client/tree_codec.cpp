#include "tree_codec.h"

namespace cfmctl {
namespace {

TreeNode::Kind ToKind(cfm::agent::Node::Kind kind) {
  switch (kind) {
    case cfm::agent::Node::LIST_ENTRY:
      return TreeNode::Kind::kListEntry;
    case cfm::agent::Node::LEAF:
      return TreeNode::Kind::kLeaf;
    case cfm::agent::Node::LEAF_LIST_ELEMENT:
      return TreeNode::Kind::kLeafListElement;
    default:
      return TreeNode::Kind::kContainer;
  }
}

}  // namespace

TreeNode ToTree(const cfm::agent::Node& node) {
  TreeNode tree{ToKind(node.kind()), node.name(), node.value(), node.is_default(), {}};
  for (const cfm::agent::Node& child : node.children()) {
    tree.children.push_back(ToTree(child));
  }
  return tree;
}

}  // namespace cfmctl
