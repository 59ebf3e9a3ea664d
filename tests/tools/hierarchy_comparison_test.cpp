#include "core/hierarchy_comparison.h"

#include <gmock/gmock.h>

#include <functional>

#include "core/expected_hierarchy.h"
#include "trees.h"

namespace cfmctl {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

cfm::Hierarchy Base() {
  return ExpectedHierarchy(test::Cfm(), [](const std::string&) { return 101U; });
}

cfm::hierarchy_md& Md(cfm::Hierarchy& hierarchy) {
  return hierarchy.at("east");
}
cfm::hierarchy_ma& Ma(cfm::Hierarchy& hierarchy) {
  return Md(hierarchy).mas.at("blue");
}
cfm::hierarchy_mep& Mep(cfm::Hierarchy& hierarchy) {
  return Ma(hierarchy).meps.at(5);
}

std::vector<std::string> Texts(const cfm::Hierarchy& expected, const cfm::Hierarchy& held) {
  std::vector<std::string> texts;
  for (const Difference& difference : Compare(expected, held)) {
    texts.push_back(ToText(difference));
  }
  return texts;
}

TEST(HierarchyComparison, EqualHierarchiesDoNotDiffer) {
  EXPECT_THAT(Texts(Base(), Base()), IsEmpty());
}

TEST(HierarchyComparison, TheOrderOfTheOtherVlansMeansNothing) {
  cfm::Hierarchy held = Base();
  Ma(held).association.vlan_list = {20, 30, 10};
  EXPECT_THAT(Texts(Base(), held), IsEmpty());
}

struct FieldChange {
  const char* field;
  std::function<void(cfm::Hierarchy&)> change;
  const char* text;
};

class ChangedField : public testing::TestWithParam<FieldChange> {};

TEST_P(ChangedField, IsTheOneDifference) {
  cfm::Hierarchy held = Base();
  GetParam().change(held);
  const std::vector<Difference> differences = Compare(Base(), held);
  ASSERT_EQ(differences.size(), 1U);
  EXPECT_EQ(differences[0].field, GetParam().field);
  EXPECT_EQ(ToText(differences[0]), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(
    OfAnMd, ChangedField,
    testing::Values(FieldChange{"name-format", [](auto& h) { Md(h).name_format = 2; },
                                "md{east}: name-format is 2, expected 4 (character string)"},
                    FieldChange{"level", [](auto& h) { Md(h).level = 0; },
                                "md{east}: level is 0, expected 3"},
                    FieldChange{"fixed-word-1", [](auto& h) { Md(h).fixed_word_1 = 0; },
                                "md{east}: fixed-word-1 is 0, expected 1"},
                    FieldChange{"fixed-word-2", [](auto& h) { Md(h).fixed_word_2 = 0; },
                                "md{east}: fixed-word-2 is 0, expected 1"}));

INSTANTIATE_TEST_SUITE_P(
    OfAnMa, ChangedField,
    testing::Values(
        FieldChange{"md", [](auto& h) { Ma(h).md = ""; },
                    "md{east}/ma{blue}: md is \"\", expected east"},
        FieldChange{"name-format", [](auto& h) { Ma(h).association.name_format = 4; },
                    "md{east}/ma{blue}: name-format is 4, expected 2 (character string)"},
        FieldChange{"vlan-list",
                    [](auto& h) {
                      Ma(h).association.vlan_list = {10, 20, 30};
                    },
                    "md{east}/ma{blue}: vlan-list is 10 20 30 (primary first), expected 20 10 30 "
                    "(primary first)"},
        FieldChange{"vlan-list", [](auto& h) { Ma(h).association.vlan_list.clear(); },
                    "md{east}/ma{blue}: vlan-list is none, expected 20 10 30 (primary first)"},
        FieldChange{"ccm-interval",
                    [](auto& h) { Ma(h).association.ccm_interval = cfm::CcmInterval::k1s; },
                    "md{east}/ma{blue}: ccm-interval is 4 (1s), expected 5 (10s)"},
        FieldChange{"mep-ids", [](auto& h) { Ma(h).association.mep_ids.erase(7); },
                    "md{east}/ma{blue}: mep-ids is 5 6 (local and remote), expected 5 6 7 (local "
                    "and remote)"},
        FieldChange{"fixed-word-1", [](auto& h) { Ma(h).fixed_word_1 = 2; },
                    "md{east}/ma{blue}: fixed-word-1 is 2, expected 1"},
        FieldChange{"fixed-word-2", [](auto& h) { Ma(h).fixed_word_2 = 2; },
                    "md{east}/ma{blue}: fixed-word-2 is 2, expected 1"}));

INSTANTIATE_TEST_SUITE_P(
    OfAMep, ChangedField,
    testing::Values(
        FieldChange{"md", [](auto& h) { Mep(h).md = "x"; },
                    "md{east}/ma{blue}/mep{5}: md is x, expected east"},
        FieldChange{"ma", [](auto& h) { Mep(h).ma = "x"; },
                    "md{east}/ma{blue}/mep{5}: ma is x, expected blue"},
        FieldChange{"mep-id", [](auto& h) { Mep(h).mep_id = 9; },
                    "md{east}/ma{blue}/mep{5}: mep-id is 9, expected 5"},
        FieldChange{"direction", [](auto& h) { Mep(h).direction = cfm::MepDirection::kDown; },
                    "md{east}/ma{blue}/mep{5}: direction is 1 (down), expected 2 (up)"},
        FieldChange{"logical-interface-id", [](auto& h) { Mep(h).logical_interface_id = 0; },
                    "md{east}/ma{blue}/mep{5}: logical-interface-id is 0 (no such interface), "
                    "expected 101"},
        FieldChange{"primary-vlan-id", [](auto& h) { Mep(h).primary_vlan_id = 0; },
                    "md{east}/ma{blue}/mep{5}: primary-vlan-id is 0 (that of the MA), expected 20"},
        FieldChange{"fixed-byte-1", [](auto& h) { Mep(h).fixed_byte_1 = 0; },
                    "md{east}/ma{blue}/mep{5}: fixed-byte-1 is 0, expected 1"},
        FieldChange{"cci-enabled", [](auto& h) { Mep(h).cci_enabled = false; },
                    "md{east}/ma{blue}/mep{5}: cci-enabled is false, expected true"},
        FieldChange{"fixed-byte-2", [](auto& h) { Mep(h).fixed_byte_2 = 0; },
                    "md{east}/ma{blue}/mep{5}: fixed-byte-2 is 0, expected 7"},
        FieldChange{"lowest-fault-priority-defect",
                    [](auto& h) { Mep(h).lowest_fault_priority_defect = cfm::Defects::kAllDef; },
                    "md{east}/ma{blue}/mep{5}: lowest-fault-priority-defect is 1 (all-def), "
                    "expected 5 (xcon)"},
        FieldChange{"fault-alarm-time", [](auto& h) { Mep(h).fault_alarm_time = 2500; },
                    "md{east}/ma{blue}/mep{5}: fault-alarm-time is 2500 (ms), expected 3000 (ms)"},
        FieldChange{"fault-reset-time", [](auto& h) { Mep(h).fault_reset_time = 2500; },
                    "md{east}/ma{blue}/mep{5}: fault-reset-time is 2500 (ms), expected 9000 (ms)"},
        FieldChange{"fault-action", [](auto& h) { Mep(h).fault_action = cfm::FaultAction::kNone; },
                    "md{east}/ma{blue}/mep{5}: fault-action is 0 (none), expected 1 (block)"}));

TEST(HierarchyComparison, MissingAndSurplusEntriesAreOneDifferenceEach) {
  cfm::Hierarchy held = Base();
  held.erase("west");
  held["north"];
  Ma(held).meps.erase(6);
  Ma(held).meps[8];
  EXPECT_THAT(
      Texts(Base(), held),
      ElementsAre("md{east}/ma{blue}/mep{6}: is committed, but the manager does not have it",
                  "md{east}/ma{blue}/mep{8}: the manager has it, but it is not committed",
                  "md{west}: is committed, but the manager does not have it",
                  "md{north}: the manager has it, but it is not committed"));
}

}  // namespace
}  // namespace cfmctl
