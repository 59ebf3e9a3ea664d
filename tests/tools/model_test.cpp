// The model table of cfmctl against the module itself.
#include "core/model.h"

#include <gtest/gtest.h>
#include <libyang/libyang.h>

#include <memory>
#include <string>
#include <vector>

namespace cfmctl {
namespace {

struct FreeContext {
  void operator()(ly_ctx* context) const { ly_ctx_destroy(context); }
};

NodeKind KindOf(const lysc_node& node) {
  switch (node.nodetype) {
    case LYS_LIST:
      return NodeKind::kList;
    case LYS_LEAFLIST:
      return NodeKind::kLeafList;
    case LYS_LEAF: {
      const auto& leaf = reinterpret_cast<const lysc_node_leaf&>(node);
      return leaf.type->basetype == LY_TYPE_EMPTY ? NodeKind::kEmptyLeaf : NodeKind::kLeaf;
    }
    default:
      return (node.flags & LYS_PRESENCE) != 0 ? NodeKind::kPresenceContainer : NodeKind::kContainer;
  }
}

std::vector<std::string> EnumerationOf(const lysc_node& node) {
  std::vector<std::string> names;
  if (node.nodetype != LYS_LEAF) {
    return names;
  }
  const lysc_type* type = reinterpret_cast<const lysc_node_leaf&>(node).type;
  if (type->basetype == LY_TYPE_ENUM) {
    const auto& enumeration = reinterpret_cast<const lysc_type_enum&>(*type);
    for (LY_ARRAY_COUNT_TYPE i = 0; i < LY_ARRAY_COUNT(enumeration.enums); ++i) {
      names.emplace_back(enumeration.enums[i].name);
    }
  }
  return names;
}

void ExpectSame(const lysc_node& yang, const ModelNode& table) {
  SCOPED_TRACE(yang.name);
  EXPECT_EQ(table.name, yang.name);
  EXPECT_EQ(table.kind, KindOf(yang));
  EXPECT_EQ(std::vector<std::string>(table.values.begin(), table.values.end()),
            EnumerationOf(yang));
  std::size_t index = 0;
  for (const lysc_node* child = lysc_node_child(&yang); child != nullptr; child = child->next) {
    ASSERT_LT(index, table.children.size()) << "the table lacks " << child->name;
    ExpectSame(*child, table.children[index++]);
  }
  EXPECT_EQ(index, table.children.size());
}

TEST(Model, TheTableSaysWhatTheModuleSays) {
  ly_ctx* raw = nullptr;
  ASSERT_EQ(ly_ctx_new(MODEL_DIR, 0, &raw), LY_SUCCESS);
  const std::unique_ptr<ly_ctx, FreeContext> context(raw);
  ASSERT_NE(ly_ctx_load_module(raw, "element-cfm", nullptr, nullptr), nullptr);
  const lysc_node* const cfm = lys_find_path(raw, nullptr, "/element-cfm:config/oam/cfm", 0);
  ASSERT_NE(cfm, nullptr);
  ExpectSame(*cfm, ConfigurationModel());
}

}  // namespace
}  // namespace cfmctl
