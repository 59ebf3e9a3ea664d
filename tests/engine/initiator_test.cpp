// When and what a MEP sends.
#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "world.h"

namespace cfm::engine {
namespace {

Ccm Decoded(const SentFrame& frame) {
  return std::get<Ccm>(DecodeCcm(ParseCfmFrame(frame.bytes).value()));
}

struct InitiatorTest : testing::Test {
  World world;
  Element& element = world.AddElement("sw1");
  OneMep mep;
};

TEST_F(InitiatorTest, SendsAtOnceAndThenEveryInterval) {
  for (const auto& [interval, time] : {std::pair{CcmInterval::k1s, Nanoseconds(1s)},
                                       {CcmInterval::k10s, 10s},
                                       {CcmInterval::k1min, 1min},
                                       {CcmInterval::k10min, 10min}}) {
    World own_world;
    Element& own = own_world.AddElement();
    mep.interval = interval;
    const Nanoseconds start = own_world.Now();
    own_world.Apply(own, Configure(mep));
    own_world.Run(5 * time);
    ASSERT_EQ(own.sent.size(), 6U);
    for (std::size_t index = 0; index < own.sent.size(); ++index) {
      EXPECT_EQ(own.sent[index].at, start + static_cast<int>(index) * time);
      EXPECT_EQ(Decoded(own.sent[index]).interval, static_cast<int>(interval));
    }
  }
}

TEST_F(InitiatorTest, NumbersItsCcmsFromOne) {
  world.Apply(element, Configure(mep));
  world.Run(3s);
  ASSERT_EQ(element.sent.size(), 4U);
  for (std::uint32_t index = 0; index < 4; ++index) {
    EXPECT_EQ(Decoded(element.sent[index]).sequence_number, index + 1);
  }
}

TEST_F(InitiatorTest, SaysWhatThePortIsNow) {
  world.Apply(element, Configure(mep));
  PortFacts facts = GoodPort(0x42);
  facts.interface_status = InterfaceStatus::kIsDormant;
  facts.port_status = PortStatus::kBlocked;
  world.SetPort(element, World::kPort, facts);
  world.Run(1s);
  const Ccm first = Decoded(element.sent.at(0));
  EXPECT_EQ(first.interface_status, InterfaceStatus::kIsUp);
  EXPECT_EQ(first.port_status, PortStatus::kUp);
  EXPECT_EQ(first.sender_id, "sw1");
  EXPECT_EQ(first.mep_id, 1);
  EXPECT_EQ(first.maid, MakeMaid("east", "blue"));
  const Ccm second = Decoded(element.sent.at(1));
  EXPECT_EQ(second.interface_status, InterfaceStatus::kIsDormant);
  EXPECT_EQ(second.port_status, PortStatus::kBlocked);
  EXPECT_EQ(element.sent.at(1).bytes[11], 0x42);
}

TEST_F(InitiatorTest, UsesThePrimaryVlanOfTheMaUnlessItHasItsOwn) {
  mep.vlans = {30, 10, 20};
  Hierarchy hierarchy = Configure(mep);
  world.Apply(element, hierarchy);
  EXPECT_EQ(ParseCfmFrame(element.sent.back().bytes)->vlan, 30);
  MepOf(hierarchy, mep).primary_vlan_id = 20;
  world.Apply(element, hierarchy);
  EXPECT_EQ(ParseCfmFrame(element.sent.back().bytes)->vlan, 20);
}

TEST_F(InitiatorTest, DoesNotMakeUpForCcmsThatAreOverdue) {
  world.Apply(element, Configure(mep));
  const Nanoseconds start = world.Now();
  element.engine.Advance(At(start + 3400ms));
  std::size_t frames = 0;
  for (const Effect& effect : element.engine.TakeEffects()) {
    frames += std::holds_alternative<Transmit>(effect) ? 1 : 0;
  }
  EXPECT_EQ(frames, 1U);
  element.engine.Advance(At(start + 3999ms));
  EXPECT_EQ(element.engine.NextDeadline(), start + 4s) << "the grid stays where it was";
}

TEST_F(InitiatorTest, SpreadsManyMepsOverTheInterval) {
  constexpr int kMeps = 640;
  Hierarchy hierarchy;
  for (int number = 0; number < kMeps; ++number) {
    AddMep(hierarchy,
           {.ma = std::to_string(number), .vlans = {static_cast<std::uint16_t>(number + 1)}});
  }
  world.Apply(element, hierarchy);
  EXPECT_EQ(element.sent.size(), static_cast<std::size_t>(kMeps)) << "the first comes at once";
  world.Run(1s);
  std::map<Nanoseconds, int> frames;
  for (std::size_t index = kMeps; index < element.sent.size(); ++index) {
    ++frames[element.sent[index].at];
  }
  EXPECT_EQ(frames.size(), 64U);
  for (const auto& [at, count] : frames) {
    EXPECT_EQ(count, kMeps / 64);
  }
}

TEST_F(InitiatorTest, KeepsTheIntervalWhateverTheSlot) {
  world.Apply(element, Configure({.ma = "first", .vlans = {20}}));
  world.Run(300ms);
  Hierarchy hierarchy = Configure(mep);
  const Nanoseconds start = world.Now();
  element.sent.clear();
  world.Apply(element, hierarchy);
  world.Run(3s);
  std::vector<Nanoseconds> times;
  for (const SentFrame& frame : element.sent) {
    times.push_back(frame.at - start);
  }
  EXPECT_EQ(times, (std::vector<Nanoseconds>{0ms, 500ms, 1500ms, 2500ms}));
}

TEST_F(InitiatorTest, IsSilentWhileDisabledOrWithoutAPort) {
  Hierarchy hierarchy = Configure(mep);
  MepOf(hierarchy, mep).cci_enabled = false;
  world.Apply(element, hierarchy);
  world.Run(1min);
  EXPECT_EQ(element.sent.size(), 0U);
  EXPECT_EQ(element.engine.NextDeadline(), std::nullopt);
  world.RemovePort(element, World::kPort);
  MepOf(hierarchy, mep).cci_enabled = true;
  world.Apply(element, hierarchy);
  world.Run(1min);
  EXPECT_EQ(element.sent.size(), 0U);
  world.SetPort(element, World::kPort, GoodPort(1));
  EXPECT_EQ(element.sent.size(), 1U);
}

}  // namespace
}  // namespace cfm::engine
