// Which MEP meets which frame: directions, levels, and the element's relay.
#include <gtest/gtest.h>

#include "world.h"

namespace cfm::engine {
namespace {

struct RelayTest : testing::Test {
  RelayTest() {
    world.SetPort(element, 2, GoodPort(0x12));
    world.SetPort(element, 3, GoodPort(0x13));
  }

  // Of the MA's remote MEP 2, at a port.
  void InjectAt(PortId port, const OneMep& mep) {
    world.Inject(element, port, EncodeCcm(PeerCcm(mep), {{2, 0, 0, 0, 0, 0x99}}, 10));
  }
  std::set<PortId> PortsSentOn() const {
    std::set<PortId> ports;
    for (const SentFrame& frame : element.sent) {
      ports.insert(frame.port);
    }
    return ports;
  }

  World world;
  Element& element = world.AddElement();
  OneMep down;
  OneMep up{.direction = MepDirection::kUp};
};

TEST_F(RelayTest, ADownMepSendsOutOfItsPort) {
  world.Apply(element, Configure(down));
  EXPECT_EQ(PortsSentOn(), std::set<PortId>({1}));
}

TEST_F(RelayTest, AnUpMepSendsOutOfEveryOtherPort) {
  world.Apply(element, Configure(up));
  EXPECT_EQ(PortsSentOn(), std::set<PortId>({2, 3}));
  EXPECT_EQ(element.Counters().counter1, 1U) << "one CCM all the same";
  EXPECT_EQ(element.sent.at(0).bytes[11], 1) << "with the address of its own port";
}

TEST_F(RelayTest, ADownMepHearsItsOwnPortOnly) {
  world.Apply(element, Configure(down));
  InjectAt(2, down);
  EXPECT_EQ(element.Counters().counter2, 0U);
  InjectAt(1, down);
  EXPECT_EQ(element.Counters().counter2, 1U);
}

TEST_F(RelayTest, AnUpMepHearsEveryOtherPort) {
  world.Apply(element, Configure(up));
  InjectAt(1, up);
  EXPECT_EQ(element.Counters().counter2, 0U) << "from the side that it protects";
  InjectAt(2, up);
  InjectAt(3, up);
  EXPECT_EQ(element.Counters().counter2, 2U);
  EXPECT_EQ(element.Remote(up, 2).state, RMEP_OK);
}

TEST_F(RelayTest, AMepHoldsBackItsLevelAndLowerOnesFromTheUpMepsBehindIt) {
  down.port = 2;
  down.md = "near";
  down.ma = "red";
  Hierarchy hierarchy = Configure(up);
  AddMep(hierarchy, down);
  world.Apply(element, hierarchy);
  InjectAt(2, up);
  EXPECT_EQ(element.Local(up).defects[4], false);
  EXPECT_EQ(element.Local(down).defects[4], true) << "the wrong MA at the first MEP's level";
  EXPECT_EQ(element.Remote(up, 2).state, RMEP_START);
}

TEST_F(RelayTest, AHigherLevelPassesTheDownMepAndReachesTheUpMep) {
  down.port = 2;
  down.md = "near";
  down.level = 2;
  Hierarchy hierarchy = Configure(up);
  AddMep(hierarchy, down);
  world.Apply(element, hierarchy);
  InjectAt(2, up);
  EXPECT_EQ(element.Remote(up, 2).state, RMEP_OK);
  EXPECT_EQ(element.Local(down).defects[4], false);
}

TEST_F(RelayTest, AnUpMepHoldsBackWhatComesFromOutsideAtItsOwnPort) {
  OneMep other = up;
  other.port = 2;
  other.id = 5;
  Hierarchy hierarchy = Configure(up);
  AddMep(hierarchy, other);
  world.Apply(element, hierarchy);
  InjectAt(1, up);
  EXPECT_EQ(element.Remote(other, 2).state, RMEP_START);
  InjectAt(3, up);
  EXPECT_EQ(element.Remote(up, 2).state, RMEP_OK);
  EXPECT_EQ(element.Remote(other, 2).state, RMEP_OK);
}

TEST_F(RelayTest, TheLowestLevelThatDoesNotLetPassTakesTheFrame) {
  Hierarchy hierarchy;
  for (int level = 1; level <= 7; level += 2) {
    OneMep mep = down;
    mep.md = "level" + std::to_string(level);
    mep.level = level;
    AddMep(hierarchy, mep);
  }
  world.Apply(element, hierarchy);
  OneMep foreign = down;
  foreign.md = "foreign";
  foreign.level = 4;
  InjectAt(1, foreign);
  for (int level = 1; level <= 7; level += 2) {
    OneMep mep = down;
    mep.md = "level" + std::to_string(level);
    EXPECT_EQ(element.Local(mep).defects[4], level == 5) << level;
  }
}

TEST_F(RelayTest, UpMepsOfOneElementHearEachOther) {
  OneMep other = up;
  other.port = 2;
  other.ma = "red";
  Hierarchy hierarchy = Configure(up);
  AddMep(hierarchy, other);
  world.Apply(element, hierarchy);
  world.Run(1s);
  EXPECT_TRUE(element.Local(up).defects[4]);
  EXPECT_TRUE(element.Local(other).defects[4]);
}

TEST_F(RelayTest, MepsOfOneMaInOneElementAreKnownToEachOtherButNotWatched) {
  OneMep other = up;
  other.port = 2;
  other.id = 5;
  Hierarchy hierarchy = Configure(up);
  AddMep(hierarchy, other);
  world.Apply(element, hierarchy);
  world.Run(1s);
  EXPECT_GT(element.engine.Statistics().at(0).statistics.counter2, 0U);
  EXPECT_FALSE(element.Local(up).defects[3]);
  EXPECT_EQ(element.remotes.size(), 2U) << "remote MEP 2, twice";
}

TEST(UpMeps, OfTwoElementsMeetAcrossTheWireBetweenOtherPorts) {
  World world;
  Element& here = world.AddElement();
  Element& there = world.AddElement();
  world.SetPort(here, 2, GoodPort(0x12));
  world.SetPort(there, 2, GoodPort(0x22));
  Wire& wire = world.Connect(here, 2, there, 2);
  const OneMep one{.id = 1, .remotes = {2}, .direction = MepDirection::kUp};
  const OneMep two{.id = 2, .remotes = {1}, .direction = MepDirection::kUp};
  world.Apply(here, Configure(one));
  world.Apply(there, Configure(two));
  world.Run(2s);
  EXPECT_EQ(here.Remote(one, 2).state, RMEP_OK);
  EXPECT_EQ(there.Remote(two, 1).state, RMEP_OK);
  wire.cut[0] = true;
  world.Run(5s);
  EXPECT_EQ(there.Defects(), "R");
  EXPECT_EQ(here.Defects(), "A");
}

}  // namespace
}  // namespace cfm::engine
