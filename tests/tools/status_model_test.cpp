// The status table of cfmctl, and the documents that it makes, against the
// module itself.
#include "core/status_model.h"

#include <gtest/gtest.h>
#include <libyang/libyang.h>

#include <memory>
#include <string>
#include <vector>

#include "core/status_document.h"
#include "records.h"

namespace cfmctl {
namespace {

struct FreeContext {
  void operator()(ly_ctx* context) const { ly_ctx_destroy(context); }
};
struct FreeData {
  void operator()(lyd_node* data) const { lyd_free_all(data); }
};

class StatusModelTest : public testing::Test {
 protected:
  void SetUp() override {
    ly_ctx* raw = nullptr;
    ASSERT_EQ(ly_ctx_new(MODEL_DIR, 0, &raw), LY_SUCCESS);
    context_.reset(raw);
    ASSERT_NE(ly_ctx_load_module(raw, "element-cfm", nullptr, nullptr), nullptr);
  }

  const lysc_node* Find(const std::string& path) const {
    return lys_find_path(context_.get(), nullptr, path.c_str(), 0);
  }

  std::unique_ptr<ly_ctx, FreeContext> context_;
};

const lysc_type& TypeOf(const lysc_node& node) {
  return node.nodetype == LYS_LEAFLIST ? *reinterpret_cast<const lysc_node_leaflist&>(node).type
                                       : *reinterpret_cast<const lysc_node_leaf&>(node).type;
}

LeafType ExpectedType(const lysc_type& type) {
  switch (type.basetype) {
    case LY_TYPE_STRING:
      return LeafType::kText;
    case LY_TYPE_ENUM:
      return LeafType::kEnumeration;
    case LY_TYPE_INT64:
    case LY_TYPE_UINT64:
      return LeafType::kLongNumber;
    default:
      return LeafType::kNumber;
  }
}

std::vector<std::string> ExpectedValues(const lysc_type& type) {
  std::vector<std::string> names;
  if (type.basetype == LY_TYPE_ENUM) {
    const auto& enumeration = reinterpret_cast<const lysc_type_enum&>(type);
    for (LY_ARRAY_COUNT_TYPE i = 0; i < LY_ARRAY_COUNT(enumeration.enums); ++i) {
      names.emplace_back(enumeration.enums[i].name);
    }
  }
  return names;
}

// Empty: the daemon writes the leaf.
std::string CallpointOf(const lysc_node& node) {
  for (LY_ARRAY_COUNT_TYPE i = 0; i < LY_ARRAY_COUNT(node.exts); ++i) {
    if (std::string(node.exts[i].def->name) == "callpoint") {
      return node.exts[i].argument;
    }
  }
  return {};
}

void ExpectOrigin(const lysc_node& yang, const StatusLeaf& leaf) {
  const std::string callpoint = CallpointOf(yang);
  if (callpoint.empty()) {
    EXPECT_TRUE(leaf.origin == LeafOrigin::kIdentity || leaf.origin == LeafOrigin::kWritten);
  } else {
    EXPECT_EQ(leaf.origin,
              callpoint == "statistics" ? LeafOrigin::kStatistics : LeafOrigin::kComputed);
  }
}

TEST_F(StatusModelTest, TheTableSaysWhatTheModuleSays) {
  for (const StatusList& list : StatusModel()) {
    const lysc_node* const yang = Find("/element-cfm:status/oam/cfm/" + std::string(list.name));
    ASSERT_NE(yang, nullptr);
    std::size_t index = 0;
    for (const lysc_node* child = lysc_node_child(yang); child != nullptr; child = child->next) {
      SCOPED_TRACE(child->name);
      ASSERT_LT(index, list.leaves.size());
      const StatusLeaf& leaf = list.leaves[index++];
      EXPECT_EQ(leaf.name, child->name);
      EXPECT_EQ(leaf.type, ExpectedType(TypeOf(*child)));
      EXPECT_EQ(leaf.is_list, child->nodetype == LYS_LEAFLIST);
      EXPECT_EQ(std::vector<std::string>(leaf.values.begin(), leaf.values.end()),
                ExpectedValues(TypeOf(*child)));
      ExpectOrigin(*child, leaf);
    }
    EXPECT_EQ(index, list.leaves.size());
  }
}

TEST_F(StatusModelTest, ItsPathAndNamesAreThoseOfTheModule) {
  const lysc_node* const cfm = Find("/element-cfm:status/oam/cfm");
  ASSERT_NE(cfm, nullptr);
  EXPECT_EQ(kStatusPath, "/status/oam/cfm");
  EXPECT_EQ(cfm->module->ns, kStatusNamespace);
  EXPECT_EQ(cfm->module->name, kStatusModule);
  EXPECT_NE(Find("/element-cfm:clear-statistics"), nullptr);
}

TEST_F(StatusModelTest, DocumentsAreDataOfTheModule) {
  const StatusRecords records{test::WholeLocalRecord(), test::WholeRemoteRecord()};
  for (const bool xml : {true, false}) {
    const std::string document =
        StatusDocument(records, xml ? DocumentFormat::kXml : DocumentFormat::kJson);
    lyd_node* raw = nullptr;
    ASSERT_EQ(lyd_parse_data_mem(context_.get(), document.c_str(), xml ? LYD_XML : LYD_JSON,
                                 LYD_PARSE_ONLY | LYD_PARSE_STRICT, 0, &raw),
              LY_SUCCESS)
        << ly_errmsg(context_.get());
    const std::unique_ptr<lyd_node, FreeData> data(raw);
    lyd_node* leaf = nullptr;
    EXPECT_EQ(
        lyd_find_path(raw, "/element-cfm:status/oam/cfm/remote[id='1']/rx-sender-id", 0, &leaf),
        LY_SUCCESS);
    ASSERT_NE(leaf, nullptr);
    EXPECT_STREQ(lyd_get_value(leaf), "ring & <east>");
  }
}

}  // namespace
}  // namespace cfmctl
