// The tag hashes that the daemon uses are those that the data model states.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <libyang/libyang.h>

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

// Every constant for a node of the status or the action, by its value: their
// names and places are the model's to choose.
const tag::Tag kOtherTags[] = {
    tag::kMd,
    tag::kMa,
    tag::kMep,
    tag::kLevel,
    tag::kCcmInterval,
    tag::kPrimaryVlanId,
    tag::kVlanList,
    tag::kDirection,
    tag::kInterface,
    tag::kFaultAlarmTime,
    tag::kFaultResetTime,
    tag::kLocal,
    tag::kLastStateChange,
    tag::kStatusRemoteMeps,
    tag::kMepCcmsSent,
    tag::kMepCcmsReceived,
    tag::kMepCcmSequenceErrors,
    tag::kRmepCcmsReceived,
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

TEST_F(ModelTags, OfOtherNodesAreAllKnownToTheDaemon) {
  for (const auto& [path, hash] : Stated()) {
    if (!path.starts_with(kConfiguration)) {
      EXPECT_THAT(kOtherTags, testing::Contains(hash)) << path;
    }
  }
}

TEST_F(ModelTags, OfTheLocalListIsTheModels) {
  EXPECT_EQ(Stated().at("/element-cfm:status/oam/cfm/local"), tag::kLocal);
}

}  // namespace
}  // namespace test
