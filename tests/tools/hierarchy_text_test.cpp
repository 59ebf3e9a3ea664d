#include "core/hierarchy_text.h"

#include <gtest/gtest.h>

namespace cfmctl {
namespace {

// One MEP below one MA; the MD's name needs every kind of escape.
std::vector<Entry> Sample() {
  cfm::Hierarchy hierarchy;
  cfm::hierarchy_md& md = hierarchy["e<\"&>"];
  md = {4, 3, 1, 1, {}};
  cfm::hierarchy_ma& ma = md.mas["blue"];
  ma = {"e", {2, {20, 10}, cfm::CcmInterval::k1s, {5, 7}}, 1, 1, {}};
  ma.meps[5] = {"e",
                "blue",
                5,
                cfm::MepDirection::kUp,
                101,
                0,
                1,
                true,
                7,
                cfm::Defects::kMacRemErrXcon,
                2500,
                10000,
                cfm::FaultAction::kNone};
  return ToEntries(hierarchy);
}

TEST(HierarchyText, TheListingHasEveryFieldWithItsMeaning) {
  EXPECT_EQ(ToListing(Sample()), R"(md e<"&>
  name-format                   4 (character string)
  level                         3
  fixed-word-1                  1
  fixed-word-2                  1
  ma blue
    md                            e
    name-format                   2 (character string)
    vlan-list                     20 10 (primary first)
    ccm-interval                  4 (1s)
    mep-ids                       5 7 (local and remote)
    fixed-word-1                  1
    fixed-word-2                  1
    mep 5
      md                            e
      ma                            blue
      mep-id                        5
      direction                     2 (up)
      logical-interface-id          101
      primary-vlan-id               0 (that of the MA)
      fixed-byte-1                  1
      cci-enabled                   true
      fixed-byte-2                  7
      lowest-fault-priority-defect  2 (mac-rem-err-xcon)
      fault-alarm-time              2500 ms
      fault-reset-time              10000 ms
      fault-action                  0 (none)
)");
}

TEST(HierarchyText, JsonHasTheManagersNumbers) {
  EXPECT_EQ(ToJson(Sample()), R"({
  "md": [
    {
      "name": "e<\"&>",
      "name-format": 4,
      "level": 3,
      "fixed-word-1": 1,
      "fixed-word-2": 1,
      "ma": [
        {
          "name": "blue",
          "md": "e",
          "name-format": 2,
          "vlan-list": [20, 10],
          "ccm-interval": 4,
          "mep-ids": [5, 7],
          "fixed-word-1": 1,
          "fixed-word-2": 1,
          "mep": [
            {
              "id": 5,
              "md": "e",
              "ma": "blue",
              "mep-id": 5,
              "direction": 2,
              "logical-interface-id": 101,
              "primary-vlan-id": 0,
              "fixed-byte-1": 1,
              "cci-enabled": true,
              "fixed-byte-2": 7,
              "lowest-fault-priority-defect": 2,
              "fault-alarm-time": 2500,
              "fault-reset-time": 10000,
              "fault-action": 0
            }
          ]
        }
      ]
    }
  ]
}
)");
}

TEST(HierarchyText, XmlHasOneElementPerValue) {
  EXPECT_EQ(ToXml(Sample()), R"(<hierarchy>
  <md>
    <name>e&lt;"&amp;&gt;</name>
    <name-format>4</name-format>
    <level>3</level>
    <fixed-word-1>1</fixed-word-1>
    <fixed-word-2>1</fixed-word-2>
    <ma>
      <name>blue</name>
      <md>e</md>
      <name-format>2</name-format>
      <vlan-list>20</vlan-list>
      <vlan-list>10</vlan-list>
      <ccm-interval>4</ccm-interval>
      <mep-ids>5</mep-ids>
      <mep-ids>7</mep-ids>
      <fixed-word-1>1</fixed-word-1>
      <fixed-word-2>1</fixed-word-2>
      <mep>
        <id>5</id>
        <md>e</md>
        <ma>blue</ma>
        <mep-id>5</mep-id>
        <direction>2</direction>
        <logical-interface-id>101</logical-interface-id>
        <primary-vlan-id>0</primary-vlan-id>
        <fixed-byte-1>1</fixed-byte-1>
        <cci-enabled>true</cci-enabled>
        <fixed-byte-2>7</fixed-byte-2>
        <lowest-fault-priority-defect>2</lowest-fault-priority-defect>
        <fault-alarm-time>2500</fault-alarm-time>
        <fault-reset-time>10000</fault-reset-time>
        <fault-action>0</fault-action>
      </mep>
    </ma>
  </md>
</hierarchy>
)");
}

TEST(HierarchyText, AnEmptyHierarchyIsAnEmptyDocument) {
  EXPECT_EQ(ToListing({}), "");
  EXPECT_EQ(ToJson({}), "{\n  \"md\": []\n}\n");
  EXPECT_EQ(ToXml({}), "<hierarchy>\n</hierarchy>\n");
}

}  // namespace
}  // namespace cfmctl
