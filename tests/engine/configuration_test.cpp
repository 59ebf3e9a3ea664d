// What a new configuration leaves alone, starts anew, and removes.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "world.h"

namespace cfm::engine {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

// Reports as short texts, such as `local 1`, `remote 1-2`, `local 1 gone`.
std::string Text(const Effect& effect) {
  if (const auto* local = std::get_if<LocalStatus>(&effect)) {
    return "local " + std::to_string(local->mep.id);
  }
  if (const auto* remote = std::get_if<RemoteStatus>(&effect)) {
    return "remote " + std::to_string(remote->mep.id) + "-" + std::to_string(remote->remote);
  }
  if (const auto* local = std::get_if<LocalRemoved>(&effect)) {
    return "local " + std::to_string(local->mep.id) + " gone";
  }
  if (const auto* remote = std::get_if<RemoteRemoved>(&effect)) {
    return "remote " + std::to_string(remote->mep.id) + "-" + std::to_string(remote->remote) +
           " gone";
  }
  return "other";
}

std::vector<std::string> Texts(const std::vector<Effect>& effects) {
  std::vector<std::string> texts;
  for (const Effect& effect : effects) {
    texts.push_back(Text(effect));
  }
  return texts;
}

struct ConfigurationTest : testing::Test {
  // Reports since the last call.
  std::vector<std::string> Reports() {
    auto texts = Texts(element.reports);
    element.reports.clear();
    return texts;
  }
  std::vector<std::string> ReportsOf(const Hierarchy& hierarchy) {
    Reports();
    world.Apply(element, hierarchy);
    return Reports();
  }

  World world;
  Element& element = world.AddElement();
  OneMep mep{.remotes = {2, 3}};
};

TEST_F(ConfigurationTest, ANewMepReportsItselfThenItsRemoteMeps) {
  EXPECT_THAT(ReportsOf(Configure(mep)), ElementsAre("local 1", "remote 1-2", "remote 1-3"));
}

TEST_F(ConfigurationTest, TheSameAgainChangesNothing) {
  Pair pair;
  pair.world.Run(5s);
  pair.here.reports.clear();
  const auto deadline = pair.here.engine.NextDeadline();
  pair.world.Apply(pair.here, Configure(pair.here_mep));
  EXPECT_THAT(Texts(pair.here.reports), IsEmpty());
  EXPECT_EQ(pair.here.engine.NextDeadline(), deadline);
  EXPECT_EQ(pair.here.sent.size(), 6U);
  EXPECT_EQ(pair.here.Counters().counter1, 6U);
}

TEST_F(ConfigurationTest, AnotherMepLeavesThisOneAlone) {
  Hierarchy hierarchy = Configure(mep);
  world.Apply(element, hierarchy);
  world.Inject(element, PeerCcm(mep));
  world.Run(500ms);
  OneMep other{.id = 7, .remotes = {8}, .ma = "green", .vlans = {20}};
  AddMep(hierarchy, other);
  EXPECT_THAT(ReportsOf(hierarchy), ElementsAre("local 7", "remote 7-8"));
  EXPECT_EQ(element.Remote(mep, 2).state, RMEP_OK);
  EXPECT_EQ(element.engine.NextDeadline(), world.Now() + 500ms) << "the grid of MEP 1";
  hierarchy.at("east").mas.erase("green");
  EXPECT_THAT(ReportsOf(hierarchy), ElementsAre("remote 7-8 gone", "local 7 gone"));
  EXPECT_EQ(element.Remote(mep, 2).state, RMEP_OK);
}

TEST_F(ConfigurationTest, ARemoteMepComesAndGoesWithoutTheOthersNoticing) {
  world.Apply(element, Configure(mep));
  world.Inject(element, PeerCcm(mep));
  world.Run(1s);
  mep.remotes = {2, 4};
  EXPECT_THAT(ReportsOf(Configure(mep)), ElementsAre("remote 1-3 gone", "remote 1-4"));
  EXPECT_EQ(element.Remote(mep, 2).state, RMEP_OK);
  EXPECT_EQ(element.Remote(mep, 4).state, RMEP_START);
  EXPECT_EQ(element.Counters().counter2, 1U);
}

TEST_F(ConfigurationTest, ALostRemoteMepThatIsRemovedTakesItsDefectAlong) {
  world.Apply(element, Configure(mep));
  for (int second = 0; second < 4; ++second) {
    world.Inject(element, PeerCcm(mep));
    world.Run(1s);
  }
  EXPECT_EQ(element.Defects(), "R");
  mep.remotes = {2};
  EXPECT_THAT(ReportsOf(Configure(mep)), ElementsAre("remote 1-3 gone", "local 1"));
  EXPECT_EQ(element.Defects(), "");
}

TEST_F(ConfigurationTest, AnIdThatBecomesLocalIsRemovedAsRemoteFirst) {
  world.SetPort(element, 2, GoodPort(9));
  world.Apply(element, Configure(mep));
  Hierarchy hierarchy = Configure(mep);
  AddMep(hierarchy, {.id = 2, .remotes = {3}, .port = 2});
  EXPECT_THAT(ReportsOf(hierarchy), ElementsAre("remote 1-2 gone", "local 2", "remote 2-3"));
  Hierarchy back = Configure(mep);
  EXPECT_THAT(ReportsOf(back),
              ElementsAre("remote 2-3 gone", "local 2 gone", "remote 1-3", "remote 1-2"));
}

// Remote MEPs may be filed by MD, MA and id alone: the view of MEP 4 is the
// one that is left.
TEST_F(ConfigurationTest, ARemoteMepThatAnotherStillSeesIsReportedAgain) {
  world.SetPort(element, 2, GoodPort(9));
  Hierarchy hierarchy = Configure(mep);
  AddMep(hierarchy, {.id = 4, .remotes = {2, 3}, .port = 2});
  world.Apply(element, hierarchy);
  hierarchy.at("east").mas.at("blue").meps.erase(1);
  hierarchy.at("east").mas.at("blue").association.mep_ids.erase(1);
  EXPECT_THAT(ReportsOf(hierarchy), ElementsAre("remote 1-2 gone", "remote 1-3 gone",
                                                "local 1 gone", "remote 4-2", "remote 4-3"));
}

TEST_F(ConfigurationTest, AnEmptyOneRemovesEverything) {
  Hierarchy hierarchy = Configure(mep);
  AddMep(hierarchy, {.id = 7, .remotes = {}, .md = "west"});
  world.Apply(element, hierarchy);
  EXPECT_THAT(ReportsOf({}),
              ElementsAre("remote 1-2 gone", "remote 1-3 gone", "local 1 gone", "local 7 gone"));
  EXPECT_TRUE(element.locals.empty());
  EXPECT_TRUE(element.remotes.empty());
  EXPECT_EQ(element.engine.NextDeadline(), std::nullopt);
}

// What a MEP says or hears by, each changed once.
struct LineChange {
  std::string name;
  std::function<void(Hierarchy&, const OneMep&)> change;
};

class LineChangeTest : public ConfigurationTest, public testing::WithParamInterface<LineChange> {};

TEST_P(LineChangeTest, StartsTheMepAnewButKeepsItsCounters) {
  world.SetPort(element, 2, GoodPort(9));
  Hierarchy hierarchy = Configure(mep);
  world.Apply(element, hierarchy);
  world.Inject(element, PeerCcm(mep));
  Ccm bad = PeerCcm(mep);
  bad.mep_id = 99;
  world.Inject(element, bad);
  world.Run(500ms);
  const std::size_t sent = element.sent.size();
  GetParam().change(hierarchy, mep);
  world.Apply(element, hierarchy);
  EXPECT_EQ(element.Remote(mep, 2).state, RMEP_START);
  EXPECT_EQ(element.Remote(mep, 2).sender_id, "");
  EXPECT_EQ(element.Defects(), "");
  EXPECT_GT(element.sent.size(), sent) << "its first CCM on the new line";
  EXPECT_EQ(element.Counters().counter2, 2U);
}

INSTANTIATE_TEST_SUITE_P(
    Every, LineChangeTest,
    testing::Values(
        LineChange{"Level", [](Hierarchy& all, const OneMep& mep) { all.at(mep.md).level = 5; }},
        LineChange{"Interval",
                   [](Hierarchy& all, const OneMep& mep) {
                     all.at(mep.md).mas.at(mep.ma).association.ccm_interval = CcmInterval::k10s;
                   }},
        LineChange{"VlanList",
                   [](Hierarchy& all, const OneMep& mep) {
                     all.at(mep.md).mas.at(mep.ma).association.vlan_list = {20, 10};
                   }},
        LineChange{"PrimaryVlan",
                   [](Hierarchy& all, const OneMep& mep) { MepOf(all, mep).primary_vlan_id = 20; }},
        LineChange{
            "Interface",
            [](Hierarchy& all, const OneMep& mep) { MepOf(all, mep).logical_interface_id = 2; }},
        LineChange{"Direction",
                   [](Hierarchy& all, const OneMep& mep) {
                     MepOf(all, mep).direction = MepDirection::kUp;
                   }}),
    [](const auto& one) { return one.param.name; });

TEST_F(ConfigurationTest, FaultTimesAndTheLowestDefectChangeWithoutARestart) {
  world.Apply(element, Configure(mep));
  world.Inject(element, PeerCcm(mep));
  Hierarchy hierarchy = Configure(mep);
  MepOf(hierarchy, mep).fault_alarm_time = 100;
  MepOf(hierarchy, mep).lowest_fault_priority_defect = Defects::kAllDef;
  EXPECT_THAT(ReportsOf(hierarchy), IsEmpty());
  Ccm rdi = PeerCcm(mep);
  rdi.rdi = true;
  world.Inject(element, rdi);
  world.Run(100ms);
  EXPECT_EQ(element.alarms.size(), 1U);
}

struct Nonsense {
  std::string warning;
  std::function<void(Hierarchy&)> change;
};

TEST_F(ConfigurationTest, NonsenseIsSaidAndLeavesTheMepIdle) {
  const auto ma = [](Hierarchy& all) -> hierarchy_ma& { return all.at("east").mas.at("blue"); };
  const std::string who = "MEP 1 of MA blue of MD east stays idle: ";
  const std::vector<Nonsense> all = {
      {who + "level 8 is not 0 to 7", [](Hierarchy& h) { h.at("east").level = 8; }},
      {who + "level -1 is not 0 to 7", [](Hierarchy& h) { h.at("east").level = -1; }},
      {who + "its MA has no CCM interval",
       [&](Hierarchy& h) { ma(h).association.ccm_interval = CcmInterval::kNone; }},
      {who + "primary VLAN 0 is not 1 to 4094",
       [&](Hierarchy& h) { ma(h).association.vlan_list.clear(); }},
      {who + "primary VLAN 4095 is not 1 to 4094",
       [&](Hierarchy& h) { ma(h).meps.at(1).primary_vlan_id = 4095; }},
      {who + "it has no direction",
       [&](Hierarchy& h) { ma(h).meps.at(1).direction = MepDirection::kNone; }},
      {who + "its names are not to be sent as character strings",
       [](Hierarchy& h) { h.at("east").name_format = 2; }},
      {who + "its names are not to be sent as character strings",
       [&](Hierarchy& h) { ma(h).association.name_format = 3; }},
  };
  for (const Nonsense& nonsense : all) {
    Hierarchy hierarchy = Configure(mep);
    nonsense.change(hierarchy);
    EXPECT_THAT(world.Apply(element, hierarchy), ElementsAre(nonsense.warning));
    EXPECT_EQ(element.Remote(mep, 2).state, RMEP_IDLE);
    EXPECT_EQ(element.engine.NextDeadline(), std::nullopt);
    EXPECT_THAT(world.Apply(element, Configure(mep)), IsEmpty());
    EXPECT_EQ(element.Remote(mep, 2).state, RMEP_START) << "all is well again";
  }
}

TEST_F(ConfigurationTest, NamesThatFitNoCcmAreSaid) {
  mep.md = std::string(30, 'd');
  mep.ma = std::string(30, 'a');
  EXPECT_THAT(world.Apply(element, Configure(mep)),
              ElementsAre(HasSubstr("do not fit a CCM, which holds 44 octets of both")));
  EXPECT_EQ(element.sent.size(), 0U);
}

TEST_F(ConfigurationTest, AMepIdThatFitsNoCcmIsSaid) {
  mep.id = 8192;
  EXPECT_THAT(world.Apply(element, Configure(mep)),
              ElementsAre("MEP 8192 of MA blue of MD east stays idle: its id is not 1 to 8191"));
}

TEST_F(ConfigurationTest, AnMdThatIsNotTouchedKeepsItsLines) {
  mep.level = 9;
  Hierarchy hierarchy = Configure(mep);
  AddMep(hierarchy, {.md = "west", .level = 8});
  EXPECT_EQ(world.Apply(element, hierarchy).size(), 2U);
  hierarchy.at("west").level = 4;
  EXPECT_THAT(world.Apply(element, hierarchy), ElementsAre(HasSubstr("level 9")));
  hierarchy.erase("west");
  EXPECT_THAT(world.Apply(element, hierarchy), ElementsAre(HasSubstr("level 9")));
}

TEST_F(ConfigurationTest, AMepHearsItsPeerWhateverHappensToOtherMds) {
  Hierarchy hierarchy = Configure(mep);
  world.Apply(element, hierarchy);
  const auto hears = [this] {
    const auto before = element.Counters().counter2;
    world.Inject(element, PeerCcm(mep));
    return element.Counters().counter2 == before + 1;
  };
  EXPECT_TRUE(hears());
  AddMep(hierarchy, {.md = "west", .vlans = {20}});
  world.Apply(element, hierarchy);
  EXPECT_TRUE(hears());
  hierarchy.at("west").mas.at("blue").meps.at(1).fault_alarm_time = 3000;
  world.Apply(element, hierarchy);
  EXPECT_TRUE(hears());
  hierarchy.erase("west");
  world.Apply(element, hierarchy);
  EXPECT_TRUE(hears());
}

}  // namespace
}  // namespace cfm::engine
