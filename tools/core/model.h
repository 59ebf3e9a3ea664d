// The nodes of the configuration model that an operator names: what stands
// below what, and which node takes a value. A test holds the table equal to
// model/element-cfm.yang, which is the one that counts.
#ifndef TOOLS_CORE_MODEL_H
#define TOOLS_CORE_MODEL_H

#include <span>
#include <string_view>

namespace cfmctl {

enum class NodeKind {
  kContainer,
  kPresenceContainer,
  kList,  // its one key is the leaf "id"
  kLeaf,
  kEmptyLeaf,  // there or not, without a value
  kLeafList,
};

struct ModelNode {
  std::string_view name;
  NodeKind kind;
  std::span<const ModelNode> children;
  std::span<const std::string_view> values;  // of an enumeration
};

// /config/oam/cfm
const ModelNode& ConfigurationModel();

// Null when `parent` has no such child.
const ModelNode* FindChild(const ModelNode& parent, std::string_view name);

inline bool TakesKey(const ModelNode& node) {
  return node.kind == NodeKind::kList || node.kind == NodeKind::kLeafList;
}
inline bool TakesValue(const ModelNode& node) {
  return node.kind == NodeKind::kLeaf || node.kind == NodeKind::kLeafList;
}

}  // namespace cfmctl

#endif
