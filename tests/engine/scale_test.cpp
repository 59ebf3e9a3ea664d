// As many MEPs as an element can have.
#include <gtest/gtest.h>

#include <algorithm>

#include "world.h"

namespace cfm::engine {
namespace {

// 4096 MEPs with one remote MEP each, and as many on the other side.
TEST(Scale, FourThousandPairsComeUpGoDownAndComeBack) {
  constexpr int kMeps = 4096;
  World world;
  Element& here = world.AddElement();
  Element& there = world.AddElement();
  Wire& wire = world.Connect(here, World::kPort, there, World::kPort);
  Hierarchy here_all;
  Hierarchy there_all;
  for (int number = 0; number < kMeps; ++number) {
    // Three levels share each VLAN.
    OneMep mep{.md = "level" + std::to_string(number % 3), .ma = std::to_string(number)};
    mep.level = 2 * (number % 3) + 1;
    mep.vlans = {static_cast<std::uint16_t>(1 + number / 3)};
    AddMep(here_all, mep);
    mep.id = 2;
    mep.remotes = {1};
    AddMep(there_all, mep);
  }
  world.Apply(here, here_all);
  world.Apply(there, there_all);
  world.Run(2s);
  const auto in_state = [&](en_rmep_state state) {
    return std::ranges::count_if(here.remotes,
                                 [state](const auto& one) { return one.second.state == state; });
  };
  EXPECT_EQ(in_state(RMEP_OK), kMeps);
  wire.cut[0] = wire.cut[1] = true;
  world.Run(4s);
  EXPECT_EQ(in_state(RMEP_FAILED), kMeps);
  wire.cut[0] = wire.cut[1] = false;
  world.Run(1s);
  EXPECT_EQ(in_state(RMEP_OK), kMeps);
  for (const MepStatistics& one : here.engine.Statistics()) {
    ASSERT_EQ(one.statistics.counter1, 8U);
    ASSERT_EQ(one.statistics.counter3, 1U) << "the gap";
  }
}

TEST(Scale, OneMepWatchesEightThousand) {
  World world;
  Element& element = world.AddElement();
  OneMep mep;
  mep.remotes.clear();
  for (std::uint16_t id = 2; id <= kLargestMepId; ++id) {
    mep.remotes.insert(id);
  }
  world.Apply(element, Configure(mep));
  for (int second = 0; second < 3; ++second) {
    Ccm ccm = PeerCcm(mep);
    for (const std::uint16_t id : mep.remotes) {
      ccm.mep_id = id;
      world.Inject(element, ccm);
    }
    world.Run(1s);
  }
  EXPECT_EQ(element.Counters().counter2, 3U * 8190U);
  EXPECT_EQ(element.Defects(), "");
  world.Run(4s);
  EXPECT_EQ(element.Defects(), "R");
}

}  // namespace
}  // namespace cfm::engine
