// CCMs that are not: each is counted as invalid, and has no other effect.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "world.h"

namespace cfm::engine {
namespace {

// Places in the frame.
constexpr std::size_t kDestinationLevel = 5;
constexpr std::size_t kSource = 6;
constexpr std::size_t kFlags = 20;
constexpr std::size_t kFirstTlvOffset = 21;
constexpr std::size_t kMepId = 26;
constexpr std::size_t kMaid = 28;
constexpr std::size_t kTlvs = 18 + 74;

struct Kind {
  std::string name;
  std::string reason;
  std::function<void(Bytes&)> spoil;
};

// The TLVs are the last thing in the frame.
std::function<void(Bytes&)> Tlvs(const Bytes& tlvs) {
  return [tlvs](Bytes& frame) {
    frame.resize(kTlvs);
    AppendBytes(frame, tlvs);
  };
}

std::function<void(Bytes&)> Octets(std::size_t at, const Bytes& octets) {
  return [at, octets](Bytes& frame) {
    std::ranges::copy(octets, frame.begin() + static_cast<long>(at));
  };
}

std::vector<Kind> Kinds() {
  const std::string past_end = "TLV past the end";
  const std::string maid = "MAID of impossible lengths";
  return {
      {"Cut", "shorter than a CCM", [](Bytes& frame) { frame.resize(kTlvs - 1); }},
      {"HeaderOnly", "shorter than a CCM", [](Bytes& frame) { frame.resize(20); }},
      {"OtherGroup", "destination address of another level", Octets(kDestinationLevel, {0x34})},
      {"LinktraceGroup", "destination address of another level", Octets(kDestinationLevel, {0x3b})},
      {"GroupSource", "source is a group address", Octets(kSource, {0x03})},
      {"SmallOffset", "First TLV Offset too small", Octets(kFirstTlvOffset, {69})},
      {"LargeOffset", "First TLV Offset past the end", Octets(kFirstTlvOffset, {255})},
      {"NoInterval", "no CCM interval", Octets(kFlags, {0})},
      {"MepIdZero", "MEP id out of range", Octets(kMepId, {0, 0})},
      {"MepIdTooLarge", "MEP id out of range", Octets(kMepId, {0x20, 0x00})},
      {"EmptyMdName", maid, Octets(kMaid, {4, 0, 2, 1, 'a'})},
      {"LongMdName", maid, Octets(kMaid, {4, 44})},
      {"EmptyMaName", maid, Octets(kMaid, {4, 1, 'd', 2, 0})},
      {"LongMaName", maid, Octets(kMaid, {4, 1, 'd', 2, 44})},
      {"LongMaNameAlone", maid, Octets(kMaid, {1, 2, 46})},
      {"PortStatusEmpty", "bad Port Status TLV", Tlvs({2, 0, 0, 0})},
      {"PortStatusZero", "bad Port Status TLV", Tlvs({2, 0, 1, 0, 0})},
      {"PortStatusThree", "bad Port Status TLV", Tlvs({2, 0, 1, 3, 0})},
      {"PortStatusLong", "bad Port Status TLV", Tlvs({2, 0, 2, 1, 1, 0})},
      {"InterfaceStatusEmpty", "bad Interface Status TLV", Tlvs({4, 0, 0, 0})},
      {"InterfaceStatusZero", "bad Interface Status TLV", Tlvs({4, 0, 1, 0, 0})},
      {"InterfaceStatusEight", "bad Interface Status TLV", Tlvs({4, 0, 1, 8, 0})},
      {"SenderIdEmpty", "bad Sender ID TLV", Tlvs({1, 0, 0, 0})},
      {"SenderIdOverrun", "bad Sender ID TLV", Tlvs({1, 0, 3, 9, 7, 'a', 0})},
      {"SenderIdDomainOverrun", "bad Sender ID TLV", Tlvs({1, 0, 2, 0, 9, 0})},
      {"TlvOverrun", past_end, Tlvs({2, 0, 9, 1})},
      {"TlvHugeLength", past_end, Tlvs({99, 0xff, 0xff, 1})},
      {"TlvWithoutLength", past_end, Tlvs({2})},
      {"TlvHalfLength", past_end, Tlvs({2, 0})},
  };
}

Bytes GoodFrame(const OneMep& mep) {
  return EncodeCcm(PeerCcm(mep), {{0x02, 0, 0, 0, 0, 0x99}}, 10);
}

class MalformedCcmKind : public testing::TestWithParam<Kind> {};

TEST_P(MalformedCcmKind, IsRefusedForItsReason) {
  Bytes frame = GoodFrame({});
  GetParam().spoil(frame);
  const auto decoded = DecodeCcm(ParseCfmFrame(frame).value());
  ASSERT_TRUE(std::holds_alternative<MalformedCcm>(decoded));
  EXPECT_EQ(std::get<MalformedCcm>(decoded).reason, GetParam().reason);
}

TEST_P(MalformedCcmKind, IsCountedAndHasNoOtherEffect) {
  World world;
  Element& element = world.AddElement();
  const OneMep mep;
  world.Apply(element, Configure(mep));
  Bytes frame = GoodFrame(mep);
  GetParam().spoil(frame);
  const std::size_t reports = element.reports.size();
  world.Inject(element, World::kPort, frame);
  EXPECT_EQ(element.Counters().counter4, 1U);
  EXPECT_EQ(element.Counters().counter2, 0U);
  EXPECT_EQ(element.reports.size(), reports);
  EXPECT_EQ(element.Remote(mep, 2).state, RMEP_START);
}

INSTANTIATE_TEST_SUITE_P(Every, MalformedCcmKind, testing::ValuesIn(Kinds()),
                         [](const auto& one) { return one.param.name; });

TEST(MalformedCcm, OfALowerLevelIsNoCrossConnection) {
  World world;
  Element& element = world.AddElement();
  const OneMep mep;
  world.Apply(element, Configure(mep));
  OneMep lower = mep;
  lower.level = 1;
  Bytes frame = GoodFrame(lower);
  frame[kFlags] = 0;
  world.Inject(element, World::kPort, frame);
  EXPECT_EQ(element.Defects(), "");
  EXPECT_EQ(element.Counters().counter4, 1U);
}

TEST(MalformedCcm, OfAHigherLevelIsNotLookedAt) {
  World world;
  Element& element = world.AddElement();
  const OneMep mep;
  world.Apply(element, Configure(mep));
  OneMep higher = mep;
  higher.level = 5;
  Bytes frame = GoodFrame(higher);
  frame[kFlags] = 0;
  world.Inject(element, World::kPort, frame);
  EXPECT_EQ(element.Counters().counter4, 0U);
}

TEST(MalformedCcm, OtherOpcodesAreNotCcms) {
  World world;
  Element& element = world.AddElement();
  const OneMep mep;
  world.Apply(element, Configure(mep));
  for (const std::uint8_t opcode : {0, 2, 3, 4, 5, 33, 255}) {
    Bytes frame = GoodFrame(mep);
    frame[19] = opcode;
    world.Inject(element, World::kPort, frame);
  }
  EXPECT_EQ(element.Counters().counter2, 0U);
  EXPECT_EQ(element.Counters().counter4, 0U);
}

// Whatever bytes come, each frame that is the MEP's is counted once.
TEST(MalformedCcm, SpoiledAtRandomIsCountedOneWayOrTheOther) {
  World world;
  Element& element = world.AddElement();
  const OneMep mep;
  world.Apply(element, Configure(mep));
  std::mt19937 random(20240611);
  const Bytes good = GoodFrame(mep);
  for (std::uint64_t frames = 1; frames <= 20000; ++frames) {
    Bytes frame = good;
    for (unsigned count = 1 + random() % 4; count > 0; --count) {
      frame[18 + 2 + random() % (frame.size() - 20)] = static_cast<std::uint8_t>(random());
    }
    frame.resize(20 + random() % (frame.size() - 19));
    world.Inject(element, World::kPort, frame);
    const st_lmep_stats counters = element.Counters();
    ASSERT_EQ(counters.counter2 + counters.counter4, frames);
  }
  EXPECT_GT(element.Counters().counter2, 100U);
  EXPECT_GT(element.Counters().counter4, 1000U);
}

}  // namespace
}  // namespace cfm::engine
