#include "writable_leaves.h"

#include <optional>

#include "typed_value.h"

namespace agentd {
namespace {

using cfm::agent::WritableLeaf;

bool TakesAll(const lysc_type& type) {
  if (type.basetype == LY_TYPE_STRING) {
    const auto& text = reinterpret_cast<const lysc_type_str&>(type);
    return text.length == nullptr && text.patterns == nullptr;
  }
  const bool is_number = type.basetype >= LY_TYPE_INT8 ||
                         (type.basetype >= LY_TYPE_UINT8 && type.basetype <= LY_TYPE_UINT64);
  return is_number && reinterpret_cast<const lysc_type_num&>(type).range == nullptr;
}

void AddNumbers(const lysc_type& type, WritableLeaf& leaf) {
  if (type.basetype == LY_TYPE_ENUM) {
    const lysc_type_bitenum_item* items = reinterpret_cast<const lysc_type_enum&>(type).enums;
    LY_ARRAY_COUNT_TYPE i = 0;
    LY_ARRAY_FOR(items, i) {
      leaf.add_numbers(items[i].value);
    }
  }
}

std::optional<WritableLeaf> Describe(const lysc_node& node) {
  const lysc_type& type = *reinterpret_cast<const lysc_node_leaf&>(node).type;
  WritableLeaf leaf;
  leaf.set_name(node.name);
  leaf.set_type(KindOf(type));
  leaf.set_takes_all(TakesAll(type));
  AddNumbers(type, leaf);
  if (!leaf.takes_all() && leaf.numbers_size() == 0) {
    return std::nullopt;
  }
  return leaf;
}

}  // namespace

std::vector<WritableLeaf> WritableLeavesOf(const lysc_node& list, const ProviderModel& providers) {
  std::vector<WritableLeaf> leaves;
  for (const lysc_node* node = lysc_node_child(&list); node != nullptr; node = node->next) {
    if (node->nodetype != LYS_LEAF || (node->flags & LYS_CONFIG_R) == 0 || IsKey(*node) ||
        providers.IsComputed(*node)) {
      continue;
    }
    if (auto leaf = Describe(*node)) {
      leaves.push_back(std::move(*leaf));
    }
  }
  return leaves;
}

}  // namespace agentd
