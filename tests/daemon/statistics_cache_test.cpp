// The cache that reads of statistics are answered from.
#include <string>

#include "daemon/statistics_fixture.h"

namespace test {
namespace {

using testing::ElementsAre;
using testing::ExitedWithCode;
using testing::HasSubstr;

using StatisticsCache = StatisticsCallpoint;
using StatisticsCacheDeath = StatisticsCallpoint;

constexpr const char* kElement0IsATag = "(&keypath->v[0][0])->type == C_XMLTAG";
constexpr const char* kElement1IsAKey = "(&keypath->v[1][0])->type == C_INT64";

TEST_F(StatisticsCache, AnEntryIsRecentInItsSecondAndTheNextOne) {
  StoreLocal("A", 5);
  StoreRemote("A", 7);
  const struct {
    long uptime;
    bool recent;
  } kMoments[] = {{1000, true}, {1001, true}, {1002, false}, {999, false}, {2000, false}};
  for (const auto& moment : kMoments) {
    fake::SetUptime(moment.uptime);
    EXPECT_EQ(callpoint_.IsRecentStatisticInCache(tag::kMepCcmsSent, {"A", "x", 5}), moment.recent);
    EXPECT_EQ(callpoint_.IsRecentStatisticInCache(tag::kMepCcmsReceived, {"A", "x", 5}),
              moment.recent);
    EXPECT_EQ(callpoint_.IsRecentStatisticInCache(tag::kMepCcmSequenceErrors, {"A", "x", 5}),
              moment.recent);
    EXPECT_EQ(callpoint_.IsRecentStatisticInCache(tag::kRmepCcmsReceived, {"A", "x", 7}),
              moment.recent);
  }
}

TEST_F(StatisticsCache, AnAgeHas64Bits) {
  StoreLocal("A", 5);
  StoreRemote("A", 7);
  fake::SetUptime(1000 + (1L << 32));
  EXPECT_FALSE(callpoint_.IsRecentStatisticInCache(tag::kMepCcmsSent, {"A", "x", 5}));
  EXPECT_FALSE(callpoint_.IsRecentStatisticInCache(tag::kRmepCcmsReceived, {"A", "x", 7}));
}

TEST_F(StatisticsCache, LocalAndRemoteEntriesOfOneMepAreTwo) {
  data_.SetMepInfo(4, {"A", "x", 5});
  StoreLocal("A", 5);
  EXPECT_FALSE(callpoint_.IsRecentStatisticInCache(tag::kRmepCcmsReceived, {"A", "x", 5}));
  StoreRemote("A", 6);
  EXPECT_FALSE(callpoint_.IsRecentStatisticInCache(tag::kMepCcmsSent, {"A", "x", 6}));
}

TEST_F(StatisticsCache, AMissingRemoteEntryIsLoggedAsALocalOne) {
  EXPECT_FALSE(IsCached(tag::kRmepCcmsReceived, 3));
  EXPECT_THAT(Messages(), ElementsAre("12 GetConfdValueFromCache: Error: Cache not found (Local MD "
                                      "A, MA x, MEP 7)"));
}

TEST_F(StatisticsCache, LookingForAValueMakesNoEntry) {
  EXPECT_FALSE(IsCached(tag::kMepCcmsSent, 1));
  EXPECT_FALSE(IsCached(tag::kMepCcmsSent, 1));
}

TEST_F(StatisticsCache, AnEntryThatIsMissingIsMadeWhenItsAgeIsAsked) {
  EXPECT_FALSE(callpoint_.IsRecentStatisticInCache(tag::kMepCcmsSent, {"A", "x", 5}));
  EXPECT_FALSE(callpoint_.IsRecentStatisticInCache(tag::kRmepCcmsReceived, {"A", "x", 7}));
  EXPECT_TRUE(IsCached(tag::kMepCcmsSent, 1));
  EXPECT_TRUE(IsCached(tag::kRmepCcmsReceived, 3));
  EXPECT_FALSE(IsCached(tag::kMepCcmsSent, 2));
}

TEST_F(StatisticsCache, AnUnknownLeafIsNotRecentAndMakesNoEntry) {
  StoreLocal("A", 5);
  EXPECT_FALSE(callpoint_.IsRecentStatisticInCache(kNoStatistics, {"A", "x", 5}));
  EXPECT_FALSE(callpoint_.IsRecentStatisticInCache(kNoStatistics, {"A", "x", 6}));
  EXPECT_FALSE(IsCached(tag::kMepCcmsSent, 2));
  EXPECT_FALSE(IsCached(tag::kRmepCcmsReceived, 2));
}

TEST_F(StatisticsCache, AnEntryOfItsOwnMakingIsRecentRightAfterTheSystemsStart) {
  fake::SetUptime(1);
  EXPECT_EQ(Read(tag::kMepCcmsSent, 1), CONFD_OK);
  EXPECT_EQ(Happened().back(), "reply 7: C_UINT64(0)");
  fake::SetUptime(2);
  EXPECT_EQ(Read(tag::kMepCcmsSent, 1), CONFD_DELAYED_RESPONSE);
}

TEST_F(StatisticsCache, WithoutAnUptimeItCountsAsZero) {
  StoreLocal("A", 5);
  fake::FailUptime();
  EXPECT_EQ(Read(tag::kMepCcmsSent, 1), CONFD_DELAYED_RESPONSE);
  StoreLocal("A", 5);
  EXPECT_EQ(Read(tag::kMepCcmsSent, 1), CONFD_OK);
}

TEST_F(StatisticsCache, LaterStatisticsOverwriteEarlierOnesAndTheirAge) {
  StoreLocal("A", 5, {1, 1, 1, 1});
  fake::SetUptime(2000);
  StoreLocal("A", 5, {2, 3, 4, 5});
  EXPECT_EQ(Read(tag::kMepCcmsReceived, 1), CONFD_OK);
  EXPECT_EQ(Happened().back(), "reply 7: C_UINT64(3)");
}

TEST_F(StatisticsCache, StatisticsThatArriveAreLogged) {
  callpoint_.HandleStatisticsLocalMep("A", "x", 65535, kLocalStats);
  callpoint_.HandleStatisticsRemoteMep("A", "x", 1, 7, kRemoteStats);
  EXPECT_THAT(
      Messages(),
      ElementsAre(
          "10 HandleStatisticsLocalMep: Local MEP statistics received (MD A, MA x, MEP 65535)",
          "10 HandleStatisticsRemoteMep: Remote MEP statistics received (MD A, MA x, MEP 7)"));
}

TEST_F(StatisticsCache, ARemoteMepSeenByTwoLocalMepsHasOneEntry) {
  callpoint_.HandleStatisticsRemoteMep("A", "x", 1, 7, {10});
  callpoint_.HandleStatisticsRemoteMep("A", "x", 2, 7, {20});
  EXPECT_EQ(Read(tag::kRmepCcmsReceived, 3), CONFD_OK);
  EXPECT_EQ(Happened().back(), "reply 7: C_UINT32(20)");
  Messages();
  callpoint_.ClearStatisticsCache({"", "", 0});
  EXPECT_THAT(Messages(),
              ElementsAre("10 ClearStatisticsCache: Clearing statistics from cache",
                          "10 ClearStatisticsCache: Remote MEP statistics cleared: MD: A, MA: x, "
                          "MEP: 7"));
}

TEST_F(StatisticsCache, ClearingTakesTheMatchingEntriesInTheirOrderLocalOnesFirst) {
  StoreRemote("A", 5);
  StoreRemote("AA", 5);
  StoreRemote("B", 6);
  StoreLocal("B", 5);
  StoreLocal("A", 6);
  StoreLocal("A", 5);
  Messages();
  callpoint_.ClearStatisticsCache({"A", "", 0});
  EXPECT_THAT(
      Messages(),
      ElementsAre("10 ClearStatisticsCache: Clearing statistics from cache",
                  "10 ClearStatisticsCache: Local MEP statistics cleared: MD: A, MA: x, MEP: 5",
                  "10 ClearStatisticsCache: Local MEP statistics cleared: MD: A, MA: x, MEP: 6",
                  "10 ClearStatisticsCache: Remote MEP statistics cleared: MD: A, MA: x, MEP: 5"));
  callpoint_.ClearStatisticsCache({"", "", 5});
  EXPECT_THAT(
      Messages(),
      ElementsAre("10 ClearStatisticsCache: Clearing statistics from cache",
                  "10 ClearStatisticsCache: Local MEP statistics cleared: MD: B, MA: x, MEP: 5",
                  "10 ClearStatisticsCache: Remote MEP statistics cleared: MD: AA, MA: x, MEP: 5"));
  callpoint_.ClearStatisticsCache({"", "", 0});
  EXPECT_THAT(
      Messages(),
      ElementsAre("10 ClearStatisticsCache: Clearing statistics from cache",
                  "10 ClearStatisticsCache: Remote MEP statistics cleared: MD: B, MA: x, MEP: 6"));
  callpoint_.ClearStatisticsCache({"", "", 0});
  EXPECT_THAT(Messages(), ElementsAre("10 ClearStatisticsCache: Clearing statistics from cache"));
}

TEST_F(StatisticsCache, APatternMatchesWhereEveryPartIsAnyOrTheSame) {
  using cfm::MepInfo;
  const MepInfo candidate{"A", "x", 5};
  const struct {
    MepInfo pattern;
    bool matches;
  } kPatterns[] = {
      {{"", "", 0}, true},    {{"A", "", 0}, true},    {{"", "x", 0}, true},
      {{"", "", 5}, true},    {{"A", "x", 5}, true},   {{"B", "", 0}, false},
      {{"", "y", 0}, false},  {{"", "", 6}, false},    {{"a", "", 0}, false},
      {{"AA", "", 0}, false}, {{"", "xx", 0}, false},  {{"B", "x", 5}, false},
      {{"A", "y", 5}, false}, {{"A", "x", -5}, false},
  };
  for (const auto& row : kPatterns) {
    EXPECT_EQ(cfm::StatisticsCallpoint::MepInfoMatches(row.pattern, candidate), row.matches)
        << row.pattern.md << row.pattern.ma << row.pattern.mep;
  }
  EXPECT_FALSE(cfm::StatisticsCallpoint::MepInfoMatches(candidate, {"", "", 0}));
}

TEST_F(StatisticsCacheDeath, AKeypathForTheCacheIsAssertedKeyFirst) {
  const auto look = [this](const confd_hkeypath_t& keypath) {
    confd_value_t value{};
    callpoint_.GetConfdValueFromCache(value, &keypath);
  };
  EXPECT_DEATH(look(Keypath({Enum(1), Enum(1)})), Assertion(kElement1IsAKey));
  EXPECT_DEATH(look(Keypath({Enum(1), Int64(1)})), Assertion(kElement0IsATag));
  EXPECT_EXIT(look(Keypath({Enum(1), Int64(99)})), ExitedWithCode(1), HasSubstr("Invalid key 99"));
}

}  // namespace
}  // namespace test
