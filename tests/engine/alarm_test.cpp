// Fault alarm and reset times, the lowest defect that matters, and blocking.
#include <gtest/gtest.h>

#include "world.h"

namespace cfm::engine {
namespace {

// MEP 1 with one remote MEP, whose CCMs the test sends.
struct AlarmTest : testing::Test {
  AlarmTest() { Configure(Defects::kMacRemErrXcon, FaultAction::kBlock); }

  void Configure(Defects lowest, FaultAction action) {
    Hierarchy hierarchy = engine::Configure(mep);
    MepOf(hierarchy, mep).lowest_fault_priority_defect = lowest;
    MepOf(hierarchy, mep).fault_action = action;
    world.Apply(element, hierarchy);
    world.Inject(element, PeerCcm(mep));
  }
  // Keeps the peer alive.
  void Run(Nanoseconds time, InterfaceStatus status = InterfaceStatus::kIsUp) {
    Ccm ccm = PeerCcm(mep);
    ccm.interface_status = status;
    world.Inject(element, ccm);
    for (; time >= 1s; time -= 1s) {
      world.Run(1s);
      world.Inject(element, ccm);
    }
    world.Run(time);
  }
  void RunBad(Nanoseconds time) { Run(time, InterfaceStatus::kIsDown); }

  World world;
  Element& element = world.AddElement();
  OneMep mep;
};

TEST_F(AlarmTest, ComesWhenADefectLastsForTheAlarmTime) {
  const Nanoseconds start = world.Now();
  RunBad(2499ms);
  EXPECT_EQ(element.Defects(), "S");
  EXPECT_TRUE(element.alarms.empty());
  RunBad(1ms);
  ASSERT_EQ(element.alarms.size(), 1U);
  EXPECT_EQ(element.alarms[0].at, start + 2500ms);
  EXPECT_EQ(element.alarms[0].defect, Defect::kSomeMacStatus);
}

TEST_F(AlarmTest, DoesNotComeForADefectThatGoesBefore) {
  for (int time = 0; time < 3; ++time) {
    RunBad(2400ms);
    Run(100ms);
  }
  Run(5s);
  EXPECT_TRUE(element.alarms.empty());
}

TEST_F(AlarmTest, EndsWhenThereWasNoDefectForTheResetTime) {
  RunBad(3s);
  const Nanoseconds cleared = world.Now();
  Run(9999ms);
  EXPECT_EQ(element.Defects(), "");
  EXPECT_EQ(element.alarms.size(), 1U);
  Run(1ms);
  ASSERT_EQ(element.alarms.size(), 2U);
  EXPECT_EQ(element.alarms[1].at, cleared + 10s);
  EXPECT_EQ(element.alarms[1].defect, Defect::kNone);
}

TEST_F(AlarmTest, GoesOnWhenTheDefectComesBackWithinTheResetTime) {
  RunBad(3s);
  Run(9s);
  RunBad(1s);
  Run(9s);
  EXPECT_EQ(element.alarms.size(), 1U);
  Run(1s);
  EXPECT_EQ(element.alarms.size(), 2U);
}

TEST_F(AlarmTest, ComesAgainAtOnceForAHigherDefectButNotForALowerOne) {
  RunBad(3s);
  Ccm wrong = PeerCcm(mep);
  wrong.mep_id = 9;
  world.Inject(element, wrong);
  ASSERT_EQ(element.alarms.size(), 2U);
  EXPECT_EQ(element.alarms[1].at, world.Now());
  EXPECT_EQ(element.alarms[1].defect, Defect::kErrorCcm);
  RunBad(5s);
  EXPECT_EQ(element.Defects(), "S");
  EXPECT_EQ(element.alarms.size(), 2U);
  wrong.maid = *MakeMaid("a", "b");
  world.Inject(element, wrong);
  EXPECT_EQ(element.alarms.back().defect, Defect::kXconCcm);
}

TEST_F(AlarmTest, TimesOfZeroMeanAtOnce) {
  Hierarchy hierarchy = engine::Configure(mep);
  MepOf(hierarchy, mep).fault_alarm_time = 0;
  MepOf(hierarchy, mep).fault_reset_time = 0;
  world.Apply(element, hierarchy);
  RunBad(0s);
  EXPECT_EQ(element.alarms.size(), 1U);
  Run(0s);
  EXPECT_EQ(element.alarms.size(), 2U);
  EXPECT_EQ(element.alarms[0].at, element.alarms[1].at);
}

// Each defect against each lowest defect that matters.
TEST(LowestDefect, LetsThoseFromItsPriorityUpRaiseTheAlarm) {
  for (int lowest = 0; lowest <= 5; ++lowest) {
    for (int defect = 1; defect <= 5; ++defect) {
      World world;
      Element& element = world.AddElement();
      OneMep mep;
      Hierarchy hierarchy = Configure(mep);
      MepOf(hierarchy, mep).lowest_fault_priority_defect = static_cast<Defects>(lowest);
      world.Apply(element, hierarchy);
      Ccm ccm = PeerCcm(mep);
      Ccm bad = ccm;
      ccm.rdi = defect == 1;
      ccm.interface_status = defect == 2 ? InterfaceStatus::kIsDown : InterfaceStatus::kIsUp;
      bad.mep_id = 9;
      if (defect == 5) {
        bad.level = 0;
      }
      for (int second = 0; second < 7; ++second) {
        if (defect != 3) {
          world.Inject(element, ccm);
        }
        if (defect > 3) {
          world.Inject(element, bad);
        }
        world.Run(1s);
      }
      EXPECT_EQ(element.Defects(), std::string(1, "ASRIX"[defect - 1]));
      const bool matters = lowest != 0 && defect >= lowest;
      EXPECT_EQ(element.alarms.size(), matters ? 1U : 0U) << lowest << ' ' << defect;
      EXPECT_EQ(element.Local(mep).tx_rdi, matters && defect > 1) << lowest << ' ' << defect;
    }
  }
}

TEST_F(AlarmTest, BlocksThePortAsLongAsTheFaultIsReported) {
  EXPECT_EQ(element.Local(mep).block_state, BlockState::kForwarding);
  RunBad(2499ms);
  EXPECT_TRUE(element.blocked.empty());
  RunBad(1ms);
  EXPECT_TRUE(element.blocked.contains(World::kPort));
  EXPECT_EQ(element.Local(mep).block_state, BlockState::kBlocked);
  Run(9999ms);
  EXPECT_TRUE(element.blocked.contains(World::kPort));
  Run(1ms);
  EXPECT_TRUE(element.blocked.empty());
  EXPECT_EQ(element.Local(mep).block_state, BlockState::kForwarding);
}

TEST_F(AlarmTest, DoesNotBlockWithoutTheAction) {
  Configure(Defects::kAllDef, FaultAction::kNone);
  RunBad(5s);
  EXPECT_EQ(element.alarms.size(), 1U);
  EXPECT_TRUE(element.blocked.empty());
  EXPECT_EQ(element.Local(mep).block_state, BlockState::kNotApplicable);
}

TEST_F(AlarmTest, TheActionCanBeChangedDuringAFault) {
  RunBad(3s);
  Configure(Defects::kAllDef, FaultAction::kNone);
  EXPECT_TRUE(element.blocked.empty());
  RunBad(1s);
  Configure(Defects::kAllDef, FaultAction::kBlock);
  EXPECT_TRUE(element.blocked.contains(World::kPort));
  EXPECT_EQ(element.alarms.size(), 1U) << "the fault itself went on";
}

TEST_F(AlarmTest, ARemovedMepLeavesNoBlockedPort) {
  RunBad(3s);
  EXPECT_TRUE(element.blocked.contains(World::kPort));
  world.Apply(element, {});
  EXPECT_TRUE(element.blocked.empty());
  EXPECT_EQ(element.alarms.back().defect, Defect::kNone);
}

TEST_F(AlarmTest, AMovedMepUnblocksThePortThatItLeaves) {
  world.SetPort(element, 2, GoodPort(9));
  RunBad(3s);
  mep.port = 2;
  Configure(Defects::kMacRemErrXcon, FaultAction::kBlock);
  EXPECT_TRUE(element.blocked.empty());
}

TEST_F(AlarmTest, TwoMepsOfAPortBlockItUntilBothAreContent) {
  OneMep second = mep;
  second.ma = "green";
  second.vlans = {20};
  Hierarchy hierarchy = engine::Configure(mep);
  AddMep(hierarchy, second);
  MepOf(hierarchy, mep).fault_action = FaultAction::kBlock;
  MepOf(hierarchy, second).fault_action = FaultAction::kBlock;
  world.Apply(element, hierarchy);
  world.Run(7s);
  EXPECT_TRUE(element.blocked.contains(World::kPort));
  Run(11s);
  EXPECT_EQ(element.Local(mep).block_state, BlockState::kForwarding);
  EXPECT_TRUE(element.blocked.contains(World::kPort)) << "for the other one";
  hierarchy.at("east").mas.erase("green");
  world.Apply(element, hierarchy);
  EXPECT_TRUE(element.blocked.empty());
}

// Were the blocking part of the port status that CCMs carry, each of two MEPs
// that block would give the other cause to go on.
TEST(Blocking, OnBothSidesEndsWhenTheWireIsMended) {
  Pair pair;
  for (auto* side : {&pair.here, &pair.there}) {
    const OneMep& mep = side == &pair.here ? pair.here_mep : pair.there_mep;
    Hierarchy hierarchy = Configure(mep);
    MepOf(hierarchy, mep).fault_action = FaultAction::kBlock;
    pair.world.Apply(*side, hierarchy);
  }
  pair.wire.cut[0] = pair.wire.cut[1] = true;
  pair.world.Run(8s);
  EXPECT_TRUE(pair.here.blocked.contains(World::kPort));
  EXPECT_TRUE(pair.there.blocked.contains(World::kPort));
  pair.wire.cut[0] = pair.wire.cut[1] = false;
  pair.world.Run(13s);
  EXPECT_TRUE(pair.here.blocked.empty());
  EXPECT_TRUE(pair.there.blocked.empty());
  EXPECT_EQ(pair.here.Defects(), "");
}

}  // namespace
}  // namespace cfm::engine
