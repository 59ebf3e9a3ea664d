#include "core/expected_hierarchy.h"

#include <gmock/gmock.h>

#include "trees.h"

namespace cfmctl {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

std::uint32_t OnlyGe1(const std::string& name) {
  return name == "ge1" ? 101 : 0;
}

cfm::Hierarchy Expected(const TreeNode& cfm) {
  return ExpectedHierarchy(cfm, OnlyGe1);
}

// An MA with these children and one MEP with those.
TreeNode WithMep(std::vector<TreeNode> mep_leaves) {
  mep_leaves.insert(mep_leaves.begin(), {test::Leaf("id", "5"), test::Leaf("interface", "ge1")});
  return test::Container(
      "cfm", {test::Entry(
                 "md", {test::Leaf("id", "e"), test::Leaf("level", "0"),
                        test::Entry("ma", {test::Leaf("id", "b"), test::Leaf("ccm-interval", "1s"),
                                           test::Leaf("primary-vlan-id", "1"),
                                           test::Element("vlan-list", "1"),
                                           test::Entry("mep", std::move(mep_leaves))})})});
}

cfm::hierarchy_mep Mep(const TreeNode& cfm) {
  return Expected(cfm).at("e").mas.at("b").meps.at(5);
}

TEST(ExpectedHierarchy, AnMdHasItsLevelAndTheFixedWords) {
  const cfm::Hierarchy hierarchy = Expected(test::Cfm());
  ASSERT_EQ(hierarchy.size(), 2U);
  const cfm::hierarchy_md& west = hierarchy.at("west");
  EXPECT_EQ(west.name_format, 4U);
  EXPECT_EQ(west.level, 5);
  EXPECT_EQ(west.fixed_word_1, 1U);
  EXPECT_EQ(west.fixed_word_2, 1U);
  EXPECT_TRUE(west.mas.empty());
}

TEST(ExpectedHierarchy, AnMaHasItsPrimaryVlanFirstAndAllMepIds) {
  const cfm::Hierarchy hierarchy = Expected(test::Cfm());
  const cfm::hierarchy_ma& blue = hierarchy.at("east").mas.at("blue");
  EXPECT_EQ(blue.md, "east");
  EXPECT_EQ(blue.association.name_format, 2U);
  EXPECT_THAT(blue.association.vlan_list, ElementsAre(20, 10, 30));
  EXPECT_EQ(static_cast<int>(blue.association.ccm_interval), 5);
  EXPECT_THAT(blue.association.mep_ids, ElementsAre(5, 6, 7));
  EXPECT_EQ(blue.fixed_word_1, 1U);
  EXPECT_EQ(blue.fixed_word_2, 1U);
}

TEST(ExpectedHierarchy, AMepHasWhatItsContinuityCheckSays) {
  const cfm::hierarchy_mep mep = Expected(test::Cfm()).at("east").mas.at("blue").meps.at(5);
  EXPECT_EQ(mep.md, "east");
  EXPECT_EQ(mep.ma, "blue");
  EXPECT_EQ(mep.mep_id, 5);
  EXPECT_EQ(static_cast<int>(mep.direction), 2);
  EXPECT_EQ(mep.logical_interface_id, 101U);
  EXPECT_EQ(mep.primary_vlan_id, 20);
  EXPECT_EQ(mep.fixed_byte_1, 1);
  EXPECT_TRUE(mep.cci_enabled);
  EXPECT_EQ(mep.fixed_byte_2, 7);
  EXPECT_EQ(static_cast<int>(mep.lowest_fault_priority_defect), 5);
  EXPECT_EQ(mep.fault_alarm_time, 3000);
  EXPECT_EQ(mep.fault_reset_time, 9000);
  EXPECT_EQ(static_cast<int>(mep.fault_action), 1);
}

TEST(ExpectedHierarchy, AMepWithoutContinuityCheckHasTheCreationValues) {
  const cfm::hierarchy_mep mep = Expected(test::Cfm()).at("east").mas.at("blue").meps.at(6);
  EXPECT_EQ(static_cast<int>(mep.direction), 1);
  EXPECT_EQ(mep.logical_interface_id, 0U);  // no such interface
  EXPECT_EQ(mep.primary_vlan_id, 0);
  EXPECT_FALSE(mep.cci_enabled);
  EXPECT_EQ(static_cast<int>(mep.lowest_fault_priority_defect), 2);
  EXPECT_EQ(mep.fault_alarm_time, 2500);
  EXPECT_EQ(mep.fault_reset_time, 10000);
  EXPECT_EQ(static_cast<int>(mep.fault_action), 0);
}

TEST(ExpectedHierarchy, EveryIntervalHasTheManagersNumber) {
  const std::pair<const char*, int> numbers[] = {{"1s", 4}, {"10s", 5}, {"1min", 6}, {"10min", 7}};
  for (const auto& [word, number] : numbers) {
    TreeNode cfm = WithMep({test::Leaf("direction", "up")});
    cfm.children[0].children[2].children[1].value = word;
    const auto interval = Expected(cfm).at("e").mas.at("b").association.ccm_interval;
    EXPECT_EQ(static_cast<int>(interval), number) << word;
  }
}

TEST(ExpectedHierarchy, EveryDefectAndActionHasTheManagersNumber) {
  const std::pair<const char*, int> defects[] = {
      {"all-def", 1}, {"mac-rem-err-xcon", 2}, {"rem-err-xcon", 3}, {"err-xcon", 4}, {"xcon", 5}};
  for (const auto& [word, number] : defects) {
    TreeNode check = test::ContinuityCheck();
    check.children[1].value = word;
    const auto mep = Mep(WithMep({test::Leaf("direction", "up"), check}));
    EXPECT_EQ(static_cast<int>(mep.lowest_fault_priority_defect), number) << word;
  }
  TreeNode check = test::ContinuityCheck();
  check.children[4].value = "none";
  EXPECT_EQ(static_cast<int>(Mep(WithMep({test::Leaf("direction", "up"), check})).fault_action), 0);
}

TEST(ExpectedHierarchy, WhatCannotBeConvertedIsNamed) {
  const auto complaint = [](const TreeNode& cfm) {
    try {
      Expected(cfm);
    } catch (const ConversionError& error) {
      return std::string(error.what());
    }
    return std::string("none");
  };
  EXPECT_EQ(complaint(WithMep({})), "mep 5 has no direction");
  EXPECT_EQ(complaint(WithMep({test::Leaf("direction", "sideways")})),
            "direction \"sideways\" has no counterpart in the manager");
  TreeNode no_primary = WithMep({test::Leaf("direction", "up")});
  no_primary.children[0].children[2].children[2].value = "2";
  EXPECT_EQ(complaint(no_primary), "the primary VLAN of ma b is not in its vlan-list");
  EXPECT_THAT(
      complaint(WithMep({test::Leaf("direction", "up"), test::Leaf("primary-vlan-id", "70000")})),
      HasSubstr("primary-vlan-id \"70000\" is no number in range"));
}

}  // namespace
}  // namespace cfmctl
