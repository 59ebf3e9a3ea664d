// Counters: what they count, and clearing them.
#include <gtest/gtest.h>

#include "world.h"

namespace cfm::engine {
namespace {

TEST(Statistics, CountWhatIsSentAndReceived) {
  Pair pair;
  pair.world.Run(10s);
  const auto here = pair.here.engine.Statistics();
  ASSERT_EQ(here.size(), 1U);
  EXPECT_EQ(here[0].mep, (MepName{"east", "blue", 1}));
  EXPECT_EQ(here[0].statistics.counter1, 11U);
  EXPECT_EQ(here[0].statistics.counter2, 11U);
  EXPECT_EQ(here[0].statistics.counter3, 0U);
  EXPECT_EQ(here[0].statistics.counter4, 0U);
  ASSERT_EQ(here[0].remotes.size(), 1U);
  EXPECT_EQ(here[0].remotes[0].remote, 2);
  EXPECT_EQ(here[0].remotes[0].statistics.rmep_counter, 11U);
}

struct SequenceTest : testing::Test {
  SequenceTest() { world.Apply(element, Configure(mep)); }

  // Receives CCMs with these numbers, returns how many were a surprise.
  std::uint32_t Errors(const std::vector<std::uint32_t>& numbers) {
    const std::uint32_t before = element.Counters().counter3;
    for (const std::uint32_t number : numbers) {
      Ccm ccm = PeerCcm(mep);
      ccm.sequence_number = number;
      world.Inject(element, ccm);
    }
    return element.Counters().counter3 - before;
  }

  World world;
  Element& element = world.AddElement();
  OneMep mep;
};

TEST_F(SequenceTest, NumbersThatFollowAreNoError) {
  EXPECT_EQ(Errors({7, 8, 9, 10}), 0U);
}
TEST_F(SequenceTest, AGapIsOneError) {
  EXPECT_EQ(Errors({7, 12, 13}), 1U);
}
TEST_F(SequenceTest, ARepetitionIsOneError) {
  EXPECT_EQ(Errors({7, 7, 8}), 1U);
}
TEST_F(SequenceTest, AStepBackIsOneErrorEachWay) {
  EXPECT_EQ(Errors({7, 9, 8, 10}), 3U);
}
TEST_F(SequenceTest, ZeroMeansThatNobodyCounts) {
  EXPECT_EQ(Errors({7, 0, 0, 99, 100}), 0U);
}
TEST_F(SequenceTest, NumbersWrapAround) {
  EXPECT_EQ(Errors({0xfffffffe, 0xffffffff, 0, 1}), 0U);
}

TEST_F(SequenceTest, EachRemoteMepHasItsOwnNumbers) {
  mep.remotes = {2, 3};
  world.Apply(element, Configure(mep));
  for (std::uint32_t number = 1; number < 5; ++number) {
    Ccm ccm = PeerCcm(mep);
    ccm.sequence_number = number;
    world.Inject(element, ccm);
    ccm.mep_id = 3;
    ccm.sequence_number = number + 100;
    world.Inject(element, ccm);
  }
  EXPECT_EQ(element.Counters().counter3, 0U);
}

TEST_F(SequenceTest, ACcmInErrorDoesNotDisturbTheNumbers) {
  EXPECT_EQ(Errors({1, 2}), 0U);
  Ccm wrong = PeerCcm(mep);
  wrong.interval = 5;
  wrong.sequence_number = 99;
  world.Inject(element, wrong);
  EXPECT_EQ(Errors({3}), 0U);
}

// MEPs 1 and 4 of east/blue, 1 of east/green, 1 of west/blue; each has sent
// one CCM and received one from its remote MEP 2.
struct ClearTest : testing::Test {
  ClearTest() {
    Hierarchy hierarchy;
    std::uint16_t vlan = 10;
    for (OneMep* mep : {&blue, &blue_4, &green, &west}) {
      mep->vlans = {mep == &blue_4 ? std::uint16_t{10} : vlan};
      mep->port = mep == &blue_4 ? 2 : 1;
      vlan = static_cast<std::uint16_t>(vlan + 10);
      AddMep(hierarchy, *mep);
    }
    world.SetPort(element, 2, GoodPort(9));
    world.Apply(element, hierarchy);
    for (const OneMep* mep : {&blue, &blue_4, &green, &west}) {
      world.Inject(element, mep->port,
                   EncodeCcm(PeerCcm(*mep), {{2, 0, 0, 0, 0, 0x99}}, mep->vlans[0]));
    }
  }

  // The MEPs whose own counters are not zero, and with a dash those whose
  // remote MEP's are not.
  std::set<std::string> Counting() const {
    std::set<std::string> names;
    for (const MepStatistics& one : element.engine.Statistics()) {
      const std::string name = one.mep.md + "/" + one.mep.ma + "/" + std::to_string(one.mep.id);
      if (one.statistics.counter1 + one.statistics.counter2 > 0) {
        names.insert(name);
      }
      if (one.remotes.at(0).statistics.rmep_counter > 0) {
        names.insert(name + "-2");
      }
    }
    return names;
  }
  std::set<std::string> CountingAfterClear(const char* md, const char* ma, std::uint16_t mep) {
    element.engine.ClearStatistics(md, ma, mep);
    return Counting();
  }

  World world;
  Element& element = world.AddElement();
  OneMep blue;
  OneMep blue_4{.id = 4};
  OneMep green{.ma = "green"};
  OneMep west{.md = "west"};
};

using Names = std::set<std::string>;

TEST_F(ClearTest, AllCountAtFirst) {
  EXPECT_EQ(Counting().size(), 8U);
}

TEST_F(ClearTest, WithoutAFilterClearsAll) {
  EXPECT_EQ(CountingAfterClear("", "", 0), Names());
}

TEST_F(ClearTest, OfOneMd) {
  EXPECT_EQ(CountingAfterClear("east", "", 0), Names({"west/blue/1", "west/blue/1-2"}));
}

TEST_F(ClearTest, OfOneMa) {
  EXPECT_EQ(CountingAfterClear("east", "blue", 0),
            Names({"east/green/1", "east/green/1-2", "west/blue/1", "west/blue/1-2"}));
}

TEST_F(ClearTest, OfAnMaNameInEveryMd) {
  EXPECT_EQ(CountingAfterClear("", "blue", 0), Names({"east/green/1", "east/green/1-2"}));
}

TEST_F(ClearTest, OfOneMepAndWhatItCountsOfOthers) {
  EXPECT_EQ(CountingAfterClear("east", "blue", 4),
            Names({"east/blue/1", "east/blue/1-2", "east/green/1", "east/green/1-2", "west/blue/1",
                   "west/blue/1-2"}));
}

TEST_F(ClearTest, OfARemoteMep) {
  EXPECT_EQ(CountingAfterClear("east", "", 2),
            Names({"east/blue/1", "east/blue/4", "east/green/1", "west/blue/1", "west/blue/1-2"}));
}

TEST_F(ClearTest, OfWhatIsNotThereClearsNothing) {
  EXPECT_EQ(CountingAfterClear("north", "", 0).size(), 8U);
  EXPECT_EQ(CountingAfterClear("east", "blu", 0).size(), 8U);
  EXPECT_EQ(CountingAfterClear("", "", 9).size(), 8U);
}

TEST(Statistics, ClearingDoesNotDisturbTheSequenceNumbers) {
  Pair pair;
  pair.world.Run(5s);
  pair.here.engine.ClearStatistics("", "", 0);
  pair.there.engine.ClearStatistics("", "", 0);
  pair.world.Run(5s);
  EXPECT_EQ(pair.here.Counters().counter1, 5U);
  EXPECT_EQ(pair.here.Counters().counter2, 5U);
  EXPECT_EQ(pair.here.Counters().counter3, 0U);
}

}  // namespace
}  // namespace cfm::engine
