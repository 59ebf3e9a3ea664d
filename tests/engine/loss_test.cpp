// The remote MEP state machine: idle, start, failed, ok, and when.
#include <gtest/gtest.h>

#include "world.h"

namespace cfm::engine {
namespace {

using Case = std::pair<CcmInterval, Nanoseconds>;

class LossTest : public testing::TestWithParam<Case> {};

// Runs until the remote MEP is lost and returns when that was.
Nanoseconds TimeOfLoss(World& world, Element& element, const OneMep& mep, Nanoseconds step) {
  for (int steps = 0; element.Remote(mep, 2).state != RMEP_FAILED; ++steps) {
    if (steps > 1000000) {
      ADD_FAILURE() << "never lost";
      break;
    }
    world.Run(std::min(step, *element.engine.NextDeadline() - world.Now()));
  }
  return world.Now();
}

TEST_P(LossTest, IsSeenBetween325And35IntervalsAfterTheLastCcmForEveryPhase) {
  const auto [interval, time] = GetParam();
  constexpr int kPhases = 200;
  for (int phase = 0; phase < kPhases; ++phase) {
    World world;
    Element& element = world.AddElement();
    OneMep mep;
    mep.interval = interval;
    world.Apply(element, Configure(mep));
    world.Run(time * phase / kPhases);
    for (int ccm = 0; ccm < 3; ++ccm) {
      world.Run(time);
      world.Inject(element, PeerCcm(mep));
    }
    ASSERT_EQ(element.Remote(mep, 2).state, RMEP_OK);
    const Nanoseconds last = world.Now();
    const Nanoseconds lost = TimeOfLoss(world, element, mep, time) - last;
    EXPECT_GE(lost, time * 13 / 4) << "phase " << phase;
    EXPECT_LE(lost, time * 7 / 2) << "phase " << phase;
    EXPECT_EQ(element.Remote(mep, 2).last_state_change, At(world.Now()).uptime);
    EXPECT_EQ(element.Defects(), "R");
  }
}

TEST_P(LossTest, OfOneThatWasNeverHeardComesAsLate) {
  const auto [interval, time] = GetParam();
  World world;
  Element& element = world.AddElement();
  OneMep mep;
  mep.interval = interval;
  const Nanoseconds start = world.Now();
  world.Apply(element, Configure(mep));
  EXPECT_EQ(element.Remote(mep, 2).state, RMEP_START);
  const Nanoseconds lost = TimeOfLoss(world, element, mep, time) - start;
  EXPECT_GE(lost, time * 13 / 4);
  EXPECT_LE(lost, time * 7 / 2);
}

TEST_P(LossTest, DoesNotComeWhileTwoOfThreeCcmsAreLost) {
  const auto [interval, time] = GetParam();
  World world;
  Element& element = world.AddElement();
  OneMep mep;
  mep.interval = interval;
  world.Apply(element, Configure(mep));
  for (int ccm = 0; ccm < 20; ++ccm) {
    world.Run(3 * time);
    world.Inject(element, PeerCcm(mep));
    EXPECT_EQ(element.Remote(mep, 2).state, RMEP_OK);
  }
  EXPECT_EQ(element.Defects(), "");
}

INSTANTIATE_TEST_SUITE_P(Intervals, LossTest,
                         testing::Values(Case{CcmInterval::k1s, 1s}, Case{CcmInterval::k10s, 10s},
                                         Case{CcmInterval::k1min, 1min},
                                         Case{CcmInterval::k10min, 10min}),
                         [](const auto& one) {
                           return "Value" + std::to_string(static_cast<int>(one.param.first));
                         });

TEST(RemoteMeps, EachHasADeadlineOfItsOwn) {
  World world;
  Element& element = world.AddElement();
  OneMep mep;
  mep.remotes = {2, 3, 4};
  world.Apply(element, Configure(mep));
  Ccm ccm = PeerCcm(mep);
  world.Inject(element, ccm);
  world.Run(700ms);
  ccm.mep_id = 3;
  world.Inject(element, ccm);
  world.Run(2650ms);
  EXPECT_EQ(element.Remote(mep, 2).state, RMEP_OK);
  world.Run(50ms);
  EXPECT_EQ(element.Remote(mep, 2).state, RMEP_FAILED);
  EXPECT_EQ(element.Remote(mep, 3).state, RMEP_OK);
  EXPECT_EQ(element.Remote(mep, 4).state, RMEP_FAILED);
  world.Run(700ms);
  EXPECT_EQ(element.Remote(mep, 3).state, RMEP_FAILED);
}

TEST(RemoteMeps, ComeBackWithTheNextCcm) {
  Pair pair;
  pair.world.Run(2s);
  EXPECT_EQ(pair.here.Remote(pair.here_mep, 2).state, RMEP_OK);
  EXPECT_EQ(pair.there.Remote(pair.there_mep, 1).state, RMEP_OK);
  pair.wire.cut[0] = pair.wire.cut[1] = true;
  pair.world.Run(4s);
  EXPECT_EQ(pair.here.Defects(), "R");
  EXPECT_EQ(pair.there.Defects(), "R");
  pair.wire.cut[0] = pair.wire.cut[1] = false;
  pair.world.Run(1s);
  EXPECT_EQ(pair.here.Remote(pair.here_mep, 2).state, RMEP_OK);
  EXPECT_EQ(pair.here.Remote(pair.here_mep, 2).last_state_change, At(pair.world.Now()).uptime);
  pair.world.Run(1s);
  EXPECT_EQ(pair.here.Defects(), "");
  EXPECT_EQ(pair.there.Defects(), "");
}

TEST(RemoteMeps, AreIdleWhileTheMepIsDisabled) {
  Pair pair;
  pair.world.Run(2s);
  Hierarchy hierarchy = Configure(pair.here_mep);
  MepOf(hierarchy, pair.here_mep).cci_enabled = false;
  pair.world.Apply(pair.here, hierarchy);
  const st_rmep_status idle = pair.here.Remote(pair.here_mep, 2);
  EXPECT_EQ(idle.state, RMEP_IDLE);
  EXPECT_EQ(idle.rx_interface_status, InterfaceStatus::kNoTlv);
  EXPECT_EQ(idle.sender_id, "");
  pair.world.Run(10s);
  EXPECT_EQ(pair.here.Remote(pair.here_mep, 2).state, RMEP_IDLE);
  EXPECT_EQ(pair.here.Defects(), "");
  EXPECT_EQ(pair.there.Defects(), "R");
  MepOf(hierarchy, pair.here_mep).cci_enabled = true;
  pair.world.Apply(pair.here, hierarchy);
  EXPECT_EQ(pair.here.Remote(pair.here_mep, 2).state, RMEP_START);
}

TEST(RemoteMeps, AreIdleWithoutAPort) {
  Pair pair;
  pair.world.Run(2s);
  pair.world.RemovePort(pair.here, World::kPort);
  EXPECT_EQ(pair.here.Remote(pair.here_mep, 2).state, RMEP_IDLE);
  EXPECT_EQ(pair.here.Local(pair.here_mep).tx_interface_status, InterfaceStatus::kNoTlv);
  pair.world.SetPort(pair.here, World::kPort, GoodPort(1));
  EXPECT_EQ(pair.here.Remote(pair.here_mep, 2).state, RMEP_START);
  pair.world.Run(1s);
  EXPECT_EQ(pair.here.Remote(pair.here_mep, 2).state, RMEP_OK);
}

}  // namespace
}  // namespace cfm::engine
