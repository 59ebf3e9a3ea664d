#include "core/configuration_tables.h"

#include <gtest/gtest.h>

#include "trees.h"

namespace cfmctl {
namespace {

std::string Tables(const TreeNode& top, const char* path) {
  return ConfigurationTables(top, ParsePath(path));
}

TEST(ConfigurationTables, EverythingIsThreeTables) {
  EXPECT_EQ(Tables(test::Root(test::Cfm()), ""),
            R"(MD    LEVEL
east  3
west  5

MD    MA    CCM-INTERVAL  PRIMARY-VLAN  VLAN-LIST  REMOTE-MEPS
east  blue  10s           20            10,20,30   7

MD    MA    MEP  INTERFACE  DIRECTION  PRIMARY-VLAN  CONTINUITY-CHECK  CCI  LOWEST-DEFECT  ALARM-TIME  RESET-TIME  FAULT-ACTION
east  blue  5    ge1        up         20            yes               yes  xcon           3000        9000        block
east  blue  6    ge9        down       -             no                no   -              -           -           -
)");
}

TEST(ConfigurationTables, AnEntryShowsItselfAndWhatIsBelowWithTheNamesFromThePath) {
  EXPECT_EQ(
      Tables(test::Mep5(), "md{east}/ma{blue}/mep{5}"),
      R"(MD    MA    MEP  INTERFACE  DIRECTION  PRIMARY-VLAN  CONTINUITY-CHECK  CCI  LOWEST-DEFECT  ALARM-TIME  RESET-TIME  FAULT-ACTION
east  blue  5    ge1        up         20            yes               yes  xcon           3000        9000        block
)");
}

TEST(ConfigurationTables, AListShowsItsEntries) {
  const TreeNode west =
      test::Root(test::Container("cfm", {test::Entry("md", {test::Leaf("id", "west")})}));
  EXPECT_EQ(Tables(west, "md"), "MD    LEVEL\nwest  -\n");
}

TEST(ConfigurationTables, ALeafAndALeafListShowTheirValues) {
  EXPECT_EQ(Tables(test::MaBlue(), "md{east}/ma{blue}/primary-vlan-id"),
            "NODE             VALUE\nprimary-vlan-id  20\n");
  EXPECT_EQ(Tables(test::MaBlue(), "md{east}/ma{blue}/vlan-list"),
            "NODE       VALUE\nvlan-list  10\nvlan-list  20\nvlan-list  30\n");
  EXPECT_EQ(Tables(test::MaBlue(), "md{east}/ma{blue}/vlan-list{20}"),
            "NODE       VALUE\nvlan-list  20\n");
}

TEST(ConfigurationTables, AnEmptyPresenceContainerIsPresent) {
  const TreeNode mep = test::Entry("mep", {test::Container("continuity-check", {})});
  EXPECT_EQ(Tables(mep, "md{e}/ma{b}/mep{5}/continuity-check"),
            "NODE              VALUE\ncontinuity-check  present\n");
}

TEST(ConfigurationTables, WhatIsNotThereHasNoText) {
  EXPECT_EQ(Tables(test::Root(test::Container("cfm", {})), ""), "");
  EXPECT_EQ(Tables(test::Container("", {}), ""), "");
  EXPECT_EQ(Tables(test::Container("mep", {}), "md{e}/ma{b}/mep{5}/continuity-check"), "");
  EXPECT_EQ(Tables(test::MaBlue(), "md{e}/ma{blue}/vlan-list{99}"), "");
}

TEST(ConfigurationTables, ANameDoesNotSteerTheTerminal) {
  const TreeNode top =
      test::Root(test::Container("cfm", {test::Entry("md", {test::Leaf("id", "a\x1b[2J")})}));
  EXPECT_EQ(Tables(top, ""), "MD        LEVEL\na\\x1b[2J  -\n");
}

}  // namespace
}  // namespace cfmctl
