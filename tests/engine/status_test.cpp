// What status reports say, and when they come.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "world.h"

namespace cfm::engine {
namespace {

using testing::ElementsAre;

TEST(Status, OfALocalMepIsThatOfItsPort) {
  World world;
  Element& element = world.AddElement();
  const OneMep mep;
  world.Apply(element, Configure(mep));
  st_lmep_status status = element.Local(mep);
  EXPECT_THAT(status.mac.octets, ElementsAre(2, 0, 0, 0, 0, 1));
  EXPECT_FALSE(status.tx_rdi);
  EXPECT_EQ(status.tx_interface_status, InterfaceStatus::kIsUp);
  EXPECT_EQ(status.tx_port_status, PortStatus::kUp);
  EXPECT_EQ(status.block_state, BlockState::kNotApplicable);
  EXPECT_THAT(status.defects, ElementsAre(false, false, false, false, false));

  PortFacts facts = GoodPort(7);
  facts.interface_status = InterfaceStatus::kIsLowerLayerDown;
  facts.port_status = PortStatus::kBlocked;
  world.SetPort(element, World::kPort, facts);
  status = element.Local(mep);
  EXPECT_THAT(status.mac.octets, ElementsAre(2, 0, 0, 0, 0, 7));
  EXPECT_EQ(status.tx_interface_status, InterfaceStatus::kIsLowerLayerDown);
  EXPECT_EQ(status.tx_port_status, PortStatus::kBlocked);
}

TEST(Status, OfARemoteMepIsWhatItLastSaid) {
  Pair pair;
  const auto never = pair.here.Remote(pair.here_mep, 2);
  EXPECT_EQ(never.last_state_change, At(pair.world.Now()).uptime);
  pair.world.Run(3s);
  const auto status = pair.here.Remote(pair.here_mep, 2);
  EXPECT_EQ(status.state, RMEP_OK);
  EXPECT_THAT(status.mac.octets, ElementsAre(2, 0, 0, 0, 0, 2));
  EXPECT_FALSE(status.rx_rdi);
  EXPECT_EQ(status.rx_port_status, PortStatus::kUp);
  EXPECT_EQ(status.rx_interface_status, InterfaceStatus::kIsUp);
  EXPECT_EQ(status.sender_id, "there");
}

TEST(Status, ComesOnlyWhenItChanges) {
  Pair pair;
  pair.world.Run(2s);
  pair.here.reports.clear();
  pair.there.reports.clear();
  pair.world.Run(1h);
  EXPECT_TRUE(pair.here.reports.empty());
  EXPECT_TRUE(pair.there.reports.empty());
}

TEST(Status, OfALossComesInTheOrderRemoteLocalAlarm) {
  Pair pair;
  pair.world.Run(2s);
  pair.here.reports.clear();
  pair.wire.cut[1] = true;
  pair.world.Run(7s);
  ASSERT_EQ(pair.here.reports.size(), 3U);
  EXPECT_TRUE(std::holds_alternative<RemoteStatus>(pair.here.reports[0]));
  EXPECT_TRUE(std::holds_alternative<LocalStatus>(pair.here.reports[1]));
  EXPECT_TRUE(std::holds_alternative<FaultAlarm>(pair.here.reports[2]));
}

TEST(Status, IsAllThereOnRequest) {
  World world;
  Element& element = world.AddElement();
  Hierarchy hierarchy = Configure({.remotes = {2, 3}});
  AddMep(hierarchy, {.id = 8, .remotes = {9}, .md = "west", .vlans = {20}});
  world.Apply(element, hierarchy);
  world.Run(4s);
  element.engine.ReportAll();
  std::map<MepName, st_lmep_status> locals;
  std::map<std::pair<MepName, std::uint16_t>, st_rmep_status> remotes;
  const Effects effects = element.engine.TakeEffects();
  for (const Effect& effect : effects) {
    if (const auto* local = std::get_if<LocalStatus>(&effect)) {
      locals[local->mep] = local->status;
    } else {
      const auto& remote = std::get<RemoteStatus>(effect);
      EXPECT_TRUE(locals.contains(remote.mep)) << "its local MEP comes first";
      remotes[{remote.mep, remote.remote}] = remote.status;
    }
  }
  EXPECT_EQ(effects.size(), 5U);
  ASSERT_EQ(locals.size(), element.locals.size());
  for (const auto& [name, status] : element.locals) {
    EXPECT_THAT(locals.at(name).defects, testing::ElementsAreArray(status.defects));
  }
  ASSERT_EQ(remotes.size(), element.remotes.size());
  for (const auto& [name, status] : element.remotes) {
    EXPECT_TRUE(SameStatus(remotes.at(name), status));
    EXPECT_EQ(status.state, RMEP_FAILED);
  }
}

}  // namespace
}  // namespace cfm::engine
