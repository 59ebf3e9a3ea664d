// The tag hashes that the daemon uses are those that the data model states.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <libyang/libyang.h>

#include <cstdint>
#include <cstdlib>
#include <map>
#include <memory>
#include <string>

#include "cfm/model_tags.h"

namespace test {
namespace {

namespace tag = cfm::tag;

using Tags = std::map<std::string, tag::Tag>;

// Constants by node of the configuration, /config/oam/cfm left out.
const Tags kConfigurationTags = {
    {"/md", tag::kMd},
    {"/md/level", tag::kLevel},
    {"/md/ma", tag::kMa},
    {"/md/ma/ccm-interval", tag::kCcmInterval},
    {"/md/ma/primary-vlan-id", tag::kPrimaryVlanId},
    {"/md/ma/vlan-list", tag::kVlanList},
    {"/md/ma/remote-meps", tag::kRemoteMeps},
    {"/md/ma/mep", tag::kMep},
    {"/md/ma/mep/interface", tag::kInterface},
    {"/md/ma/mep/direction", tag::kDirection},
    {"/md/ma/mep/primary-vlan-id", tag::kPrimaryVlanId},
    {"/md/ma/mep/continuity-check", tag::kContinuityCheck},
    {"/md/ma/mep/continuity-check/cci-enabled", tag::kCciEnabled},
    {"/md/ma/mep/continuity-check/lowest-fault-priority-defect", tag::kLowestFaultPriorityDefect},
    {"/md/ma/mep/continuity-check/fault-alarm-time", tag::kFaultAlarmTime},
    {"/md/ma/mep/continuity-check/fault-reset-time", tag::kFaultResetTime},
    {"/md/ma/mep/continuity-check/fault-action", tag::kFaultAction},
};

// Constants by the other nodes that the daemon recognises.
const Tags kOtherTags = {
    {"/element-cfm:status/oam/cfm/local", tag::kLocal},
    {"/element-cfm:status/oam/cfm/local/level", tag::kLevel},
    {"/element-cfm:status/oam/cfm/local/ccm-interval", tag::kCcmInterval},
    {"/element-cfm:status/oam/cfm/local/primary-vlan-id", tag::kPrimaryVlanId},
    {"/element-cfm:status/oam/cfm/local/direction", tag::kDirection},
    {"/element-cfm:status/oam/cfm/local/interface", tag::kInterface},
    {"/element-cfm:status/oam/cfm/local/fault-alarm-time", tag::kFaultAlarmTime},
    {"/element-cfm:status/oam/cfm/local/fault-reset-time", tag::kFaultResetTime},
    {"/element-cfm:status/oam/cfm/local/vlan-list", tag::kVlanList},
    {"/element-cfm:status/oam/cfm/local/remote-mep-ids", tag::kStatusRemoteMeps},
    {"/element-cfm:status/oam/cfm/local/mep-ccms-sent", tag::kMepCcmsSent},
    {"/element-cfm:status/oam/cfm/local/mep-ccms-received", tag::kMepCcmsReceived},
    {"/element-cfm:status/oam/cfm/local/mep-ccm-sequence-errors", tag::kMepCcmSequenceErrors},
    {"/element-cfm:status/oam/cfm/remote/last-state-change", tag::kLastStateChange},
    {"/element-cfm:status/oam/cfm/remote/rmep-ccms-received", tag::kRmepCcmsReceived},
    {"/element-cfm:clear-statistics/md", tag::kMd},
    {"/element-cfm:clear-statistics/ma", tag::kMa},
    {"/element-cfm:clear-statistics/mep", tag::kMep},
};

constexpr const char* kConfiguration = "/element-cfm:config/oam/cfm";

class ModelTags : public testing::Test {
 protected:
  ModelTags() {
    ly_ctx* context = nullptr;
    EXPECT_EQ(ly_ctx_new(CFM_YANG_DIR, 0, &context), LY_SUCCESS);
    context_.reset(context);
    module_ = ly_ctx_load_module(context, "element-cfm", nullptr, nullptr);
    EXPECT_NE(module_, nullptr);
  }

  // All nodes that state a tag hash, by path without prefixes but the first.
  Tags Stated() const {
    Tags stated;
    lysc_module_dfs_full(
        module_,
        [](lysc_node* node, void* data, ly_bool*) {
          if (const char* hash = TagHash(node->exts)) {
            const std::unique_ptr<char, decltype(&std::free)> path(
                lysc_path(node, LYSC_PATH_DATA, nullptr, 0), &std::free);
            (*static_cast<Tags*>(data))[path.get()] = Number(hash);
          }
          return LY_SUCCESS;
        },
        &stated);
    return stated;
  }

  static const char* TagHash(const lysc_ext_instance* extensions) {
    LY_ARRAY_COUNT_TYPE i;
    LY_ARRAY_FOR(extensions, i) {
      if (std::string(extensions[i].def->name) == "tag-hash") {
        return extensions[i].argument;
      }
    }
    return nullptr;
  }

  static tag::Tag Number(const char* hash) {
    return static_cast<tag::Tag>(std::stoul(hash, nullptr, 16));
  }

  struct Destroy {
    void operator()(ly_ctx* context) const { ly_ctx_destroy(context); }
  };
  std::unique_ptr<ly_ctx, Destroy> context_;
  const lys_module* module_ = nullptr;
};

// The agent's compiled model and the element's tools have these numbers.
TEST(Tags, AreThoseThatTheElementKnows) {
  const struct {
    tag::Tag tag;
    std::uint32_t number;
  } kTags[] = {
      {tag::kNamespace, 0x76d9c9b9},
      {tag::kMd, 0x5baff9dc},
      {tag::kLevel, 0x7dec02bd},
      {tag::kMa, 0x1b9a6cbc},
      {tag::kCcmInterval, 0x6cd8df13},
      {tag::kPrimaryVlanId, 0x733de42a},
      {tag::kVlanList, 0x41131793},
      {tag::kRemoteMeps, 0x4c09a2b5},
      {tag::kMep, 0x2b20e37e},
      {tag::kInterface, 0x0d34ee32},
      {tag::kDirection, 0x5780daa2},
      {tag::kContinuityCheck, 0x61bff787},
      {tag::kCciEnabled, 0x313c47c3},
      {tag::kLowestFaultPriorityDefect, 0x4da61b81},
      {tag::kFaultAlarmTime, 0x4aa160ac},
      {tag::kFaultResetTime, 0x3ec4986c},
      {tag::kFaultAction, 0x54300d15},
      {tag::kLocal, 0x7ef235bf},
      {tag::kLastStateChange, 0x6ff6d896},
      {tag::kStatusRemoteMeps, 0x4d43f547},
      {tag::kMepCcmsSent, 0x241a391a},
      {tag::kMepCcmsReceived, 0x42cae9f0},
      {tag::kMepCcmSequenceErrors, 0x0a5f8784},
      {tag::kRmepCcmsReceived, 0x1ac436e1},
  };
  for (const auto& row : kTags) {
    EXPECT_EQ(row.tag, row.number);
  }
}

TEST_F(ModelTags, OfTheNamespaceIsTheModels) {
  const char* hash = TagHash(module_->compiled->exts);
  ASSERT_NE(hash, nullptr);
  EXPECT_EQ(tag::kNamespace, Number(hash));
}

TEST_F(ModelTags, OfTheConfigurationAreTheModels) {
  Tags configuration;
  for (const auto& [path, hash] : Stated()) {
    if (path.starts_with(kConfiguration)) {
      configuration[path.substr(std::string(kConfiguration).size())] = hash;
    }
  }
  EXPECT_EQ(configuration, kConfigurationTags);
}

TEST_F(ModelTags, OfTheStatusAndTheActionAreTheModels) {
  const Tags stated = Stated();
  for (const auto& [path, hash] : kOtherTags) {
    const auto node = stated.find(path);
    ASSERT_NE(node, stated.end()) << path;
    EXPECT_EQ(node->second, hash) << path;
  }
}

// A tag is the hash of a name: there is one per name, and one name per tag.
TEST_F(ModelTags, NodesOfOneNameHaveOneTag) {
  Tags by_name;
  std::map<tag::Tag, std::string> names;
  for (const auto& [path, hash] : Stated()) {
    const std::string name = path.substr(path.find_last_of("/:") + 1);
    EXPECT_EQ(by_name.emplace(name, hash).first->second, hash) << path;
    EXPECT_EQ(names.emplace(hash, name).first->second, name) << path;
  }
}

}  // namespace
}  // namespace test
