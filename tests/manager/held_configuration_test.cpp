#include "held_configuration.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "frame.h"
#include "hierarchy_codec.h"
#include "hierarchy_diff.h"
#include "interface_check.h"
#include "manager.pb.h"
#include "random_hierarchy.h"

namespace {

using cfm::CompareHierarchies;
using cfm::Hierarchy;
using cfm::HierarchyChanges;
using testing::ElementsAre;
using testing::IsEmpty;

TEST(CompareHierarchies, FindsNothingBetweenEquals) {
  const Hierarchy hierarchy = test::RegularHierarchy("east", 3, 2);
  EXPECT_EQ(CompareHierarchies(hierarchy, hierarchy), HierarchyChanges{});
}

TEST(CompareHierarchies, CountsEverythingBelowAnAddedOrRemovedNode) {
  const Hierarchy hierarchy = test::RegularHierarchy("east", 3, 2);
  EXPECT_EQ(CompareHierarchies({}, hierarchy),
            (HierarchyChanges{.mds = {1, 0, 0}, .mas = {3, 0, 0}, .meps = {6, 0, 0}}));
  EXPECT_EQ(CompareHierarchies(hierarchy, {}),
            (HierarchyChanges{.mds = {0, 1, 0}, .mas = {0, 3, 0}, .meps = {0, 6, 0}}));
}

TEST(CompareHierarchies, CountsNodesBeforeBetweenAndAfterThoseThatStay) {
  Hierarchy before;
  before["b"];
  before["d"];
  before["e"];
  Hierarchy after;
  after["a"];
  after["b"];
  after["c"];
  after["d"].level = 5;
  EXPECT_EQ(CompareHierarchies(before, after),
            (HierarchyChanges{.mds = {2, 1, 1}, .mas = {}, .meps = {}}));
}

TEST(CompareHierarchies, CountsAnotherNameAsOneRemovedAndOneAdded) {
  EXPECT_EQ(CompareHierarchies(test::RegularHierarchy("east", 1, 1),
                               test::RegularHierarchy("west", 1, 1)),
            (HierarchyChanges{.mds = {1, 1, 0}, .mas = {1, 1, 0}, .meps = {1, 1, 0}}));
}

TEST(CompareHierarchies, CountsAChangeWhereItIsAndNotAbove) {
  const Hierarchy before = test::RegularHierarchy("east", 2, 2);
  Hierarchy after = before;
  after["east"].mas["ma1"].meps[2].fault_alarm_time = 1;
  EXPECT_EQ(CompareHierarchies(before, after),
            (HierarchyChanges{.mds = {}, .mas = {}, .meps = {0, 0, 1}}));
  after["east"].mas["ma0"].association.vlan_list.push_back(4094);
  EXPECT_EQ(CompareHierarchies(before, after),
            (HierarchyChanges{.mds = {}, .mas = {0, 0, 1}, .meps = {0, 0, 1}}));
}

TEST(CompareHierarchies, MirrorsItselfWhenTheSidesAreExchanged) {
  std::mt19937 random(1);
  Hierarchy before;
  for (int i = 0; i < 100; ++i) {
    const Hierarchy after = test::RandomHierarchy(random);
    const HierarchyChanges there = CompareHierarchies(before, after);
    const HierarchyChanges back = CompareHierarchies(after, before);
    EXPECT_EQ(there.meps,
              (cfm::NodeChanges{back.meps.removed, back.meps.added, back.meps.changed}));
    EXPECT_EQ(there.mas, (cfm::NodeChanges{back.mas.removed, back.mas.added, back.mas.changed}));
    EXPECT_EQ(before.size() + there.mds.added - there.mds.removed, after.size());
    before = after;
  }
}

TEST(FindMepsWithoutInterface, NamesEachSuchMep) {
  Hierarchy hierarchy = test::RegularHierarchy("east", 1, 3, 7);
  hierarchy["east"].mas["ma0"].meps[1].logical_interface_id = 0;
  hierarchy["east"].mas["ma0"].meps[3].logical_interface_id = 8;
  const auto exists = [](std::uint32_t id) { return id == 7 || id == 0; };
  EXPECT_THAT(cfm::FindMepsWithoutInterface(hierarchy, exists),
              ElementsAre("MEP 1 of MA ma0 of MD east: no interface with logical id 0",
                          "MEP 3 of MA ma0 of MD east: no interface with logical id 8"));
}

cfm::manager::Configuration Message(std::uint64_t number, const Hierarchy& hierarchy) {
  cfm::manager::Configuration message;
  message.set_number(number);
  cfm::EncodeHierarchy(hierarchy, message);
  return message;
}

Hierarchy Together(std::initializer_list<Hierarchy> parts) {
  Hierarchy all;
  for (Hierarchy part : parts) {
    all.merge(part);
  }
  return all;
}

TEST(HeldConfiguration, TellsTheMdsThatAreNotAsTheyWere) {
  const Hierarchy east = test::RegularHierarchy("east", 1, 1, 1);
  const Hierarchy west = test::RegularHierarchy("west", 1, 1, 1);
  const Hierarchy north = test::RegularHierarchy("north", 1, 1, 1);
  Hierarchy other_west = west;
  other_west["west"].level = 5;
  cfm::HeldConfiguration held([] { return [](std::uint32_t) { return true; }; });

  EXPECT_THAT(held.Replace(Message(1, Together({east, west}))).mds, ElementsAre("east", "west"));
  EXPECT_THAT(held.Replace(Message(2, Together({east, west}))).mds, IsEmpty());
  EXPECT_THAT(held.Replace(Message(3, Together({east, other_west, north}))).mds,
              ElementsAre("north", "west"));
  EXPECT_TRUE(held.Get() == Together({east, other_west, north}));
  EXPECT_THAT(held.Replace(Message(4, Together({other_west, north}))).mds, ElementsAre("east"));
  EXPECT_TRUE(held.Get() == Together({other_west, north}));
  EXPECT_THAT(held.Replace(Message(5, {})).mds, ElementsAre("north", "west"));
  EXPECT_TRUE(held.Get().empty());
}

TEST(HeldConfiguration, IsAsItWasAfterOneThatCannotBeRead) {
  const Hierarchy east = test::RegularHierarchy("east", 1, 1, 1);
  cfm::HeldConfiguration held([] { return [](std::uint32_t) { return true; }; });
  held.Replace(Message(1, east));
  cfm::manager::Configuration bad = Message(2, test::RegularHierarchy("west", 1, 1, 1));
  *bad.add_mds() = bad.mds(0);
  EXPECT_THROW(held.Replace(bad), ipc::ProtocolError);
  EXPECT_EQ(held.Number(), 1U);
  EXPECT_TRUE(held.Get() == east);
  EXPECT_THAT(held.Replace(Message(3, east)).mds, IsEmpty());
}

TEST(HeldConfiguration, HoldsTheLastOneWithItsWarnings) {
  cfm::HeldConfiguration held([] { return [](std::uint32_t id) { return id == 1; }; });
  EXPECT_EQ(held.Number(), 0U);
  EXPECT_TRUE(held.Get().empty());

  held.Replace(Message(1, test::RegularHierarchy("east", 1, 1, 2)));
  EXPECT_EQ(held.Warnings().size(), 1U);
  const HierarchyChanges changes =
      held.Replace(Message(2, test::RegularHierarchy("east", 2, 2, 1))).changes;
  EXPECT_EQ(held.Number(), 2U);
  EXPECT_TRUE(held.Warnings().empty());
  EXPECT_EQ(cfm::AppliedText(held, changes),
            "configuration 2: 1 MDs (+0 -0 ~0), 2 MAs (+1 -0 ~1), 4 MEPs (+3 -0 ~1)");
}

TEST(HeldConfiguration, TheLogLineShowsTheFirstWarning) {
  cfm::HeldConfiguration held([] { return [](std::uint32_t) { return false; }; });
  const HierarchyChanges changes =
      held.Replace(Message(9, test::RegularHierarchy("east", 1, 2, 4))).changes;
  EXPECT_EQ(cfm::AppliedText(held, changes),
            "configuration 9: 1 MDs (+1 -0 ~0), 1 MAs (+1 -0 ~0), 2 MEPs (+2 -0 ~0); 2 warning(s), "
            "the first: MEP 1 of MA ma0 of MD east: no interface with logical id 4");
}

}  // namespace
