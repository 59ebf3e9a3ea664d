#include "status/status_data.h"

#include <stdexcept>
#include <string>

#include "daemon/death.h"
#include "daemon/fake_velconfd.h"
#include "daemon/platform_test.h"

namespace test {
namespace {

using testing::ExitedWithCode;

constexpr int kKeyCount = 8192;

class StatusData : public PlatformTest {
 protected:
  void TakeKeys(int count) {
    for (int i = 0; i < count; ++i) {
      data_.GetNextKey();
    }
  }

  // Enters a MEP under the next key, as for a new record.
  long long Add(const std::string& md, const std::string& ma, int mep) {
    const long long key = data_.GetNextKey();
    data_.SetMepInfo(key, {md, ma, mep});
    data_.SetMepKey(md, ma, mep, key);
    return key;
  }

  // Clears a MEP that is not known; tells what is thrown.
  std::string ClearingThrows(const std::string& md, const std::string& ma) {
    try {
      data_.ClearMepKey(md, ma, 1, 77);
    } catch (const std::out_of_range& error) {
      return error.what();
    }
    return "nothing";
  }

  VelConfdInterface* connection_ = fake::Connection(1);
  cfm::StatusData data_{&connection_};
};

using StatusDataDeath = StatusData;

TEST_F(StatusData, KeysAreHandedOutFrom0Up) {
  for (long long key = 0; key < kKeyCount; ++key) {
    ASSERT_EQ(data_.GetNextKey(), key);
  }
}

TEST_F(StatusDataDeath, The8193rdKeyIsFatal) {
  TakeKeys(kKeyCount);
  EXPECT_EXIT(data_.GetNextKey(), ExitedWithCode(1),
              FatalFault("GetNextKey", "No more keys available to create a new status entry",
                         "status.cpp"));
}

TEST_F(StatusData, FreedKeysComeBackAfterAllKeysThatWereFreeBefore) {
  TakeKeys(kKeyCount - 8000);
  data_.SetMepKey("A", "x", 5, 5);
  data_.SetMepKey("A", "x", 2, 2);
  data_.ClearMepKey("A", "x", 5, 5);
  data_.ClearMepKey("A", "x", 2, 2);
  for (int i = 0; i < 8000; ++i) {
    ASSERT_EQ(data_.GetNextKey(), kKeyCount - 8000 + i);
  }
  EXPECT_EQ(data_.GetNextKey(), 5);
  EXPECT_EQ(data_.GetNextKey(), 2);
}

TEST_F(StatusData, ClearingTheKeysFreesThemAllOnceAndLeavesTheMepsKnown) {
  Add("A", "x", 5);
  data_.ClearMepKey("A", "x", 4, 0);
  data_.ClearKeys();
  for (long long key = 0; key < kKeyCount; ++key) {
    ASSERT_EQ(data_.GetNextKey(), key);
  }
  EXPECT_TRUE(data_.MepExists("A", "x", 5));
  EXPECT_EQ(data_.GetMepInfo(0).mep, 5);
}

TEST_F(StatusDataDeath, ClearingTheKeysLeavesNoneThatWasFreedTwice) {
  Add("A", "x", 5);
  data_.ClearMepKey("A", "x", 4, 0);
  data_.ClearKeys();
  TakeKeys(kKeyCount);
  EXPECT_EXIT(data_.GetNextKey(), ExitedWithCode(1), testing::HasSubstr("No more keys"));
}

TEST_F(StatusData, AMepIsKnownUnderItsThreeNamesOnly) {
  data_.SetMepKey("A", "x", 5, 17);
  EXPECT_TRUE(data_.MepExists("A", "x", 5));
  EXPECT_EQ(data_.GetMepKey("A", "x", 5), 17);
  EXPECT_FALSE(data_.MepExists("B", "x", 5));
  EXPECT_FALSE(data_.MepExists("A", "y", 5));
  EXPECT_FALSE(data_.MepExists("A", "x", 6));
}

TEST_F(StatusData, AskingForAMepDoesNotEnterIt) {
  data_.MepExists("A", "x", 5);
  EXPECT_EQ(ClearingThrows("A", "x"), "map::at");
}

TEST_F(StatusData, ANewKeyReplacesTheOldOneWhichIsNotReturned) {
  const long long old_key = Add("A", "x", 5);
  data_.SetMepKey("A", "x", 5, 100);
  EXPECT_EQ(data_.GetMepKey("A", "x", 5), 100);
  TakeKeys(kKeyCount - 1);
  data_.SetMepKey("B", "x", 1, 7);
  data_.ClearMepKey("B", "x", 1, 7);
  EXPECT_EQ(data_.GetNextKey(), 7) << "key " << old_key << " came back";
}

TEST_F(StatusData, TheKeyOfAnUnknownMepIsOutOfRange) {
  data_.SetMepKey("A", "x", 5, 17);
  for (const auto& [md, ma, mep] : {cfm::MepInfo{"B", "x", 5}, {"A", "y", 5}, {"A", "x", 6}}) {
    try {
      data_.GetMepKey(md, ma, mep);
      ADD_FAILURE() << md << ma << mep;
    } catch (const std::out_of_range& error) {
      EXPECT_STREQ(error.what(), "map::at");
    }
  }
}

TEST_F(StatusData, ClearingBelowAnUnknownMdOrMaIsOutOfRangeAndFreesNothing) {
  data_.SetMepKey("A", "x", 5, 17);
  TakeKeys(kKeyCount);
  EXPECT_EQ(ClearingThrows("B", "x"), "map::at");
  EXPECT_EQ(ClearingThrows("A", "y"), "map::at");
  EXPECT_TRUE(data_.MepExists("A", "x", 5));
  data_.ClearMepKey("A", "x", 5, 17);
  EXPECT_EQ(data_.GetNextKey(), 17);
}

TEST_F(StatusData, ClearingAnUnknownMepOfAKnownMaStillFreesTheKey) {
  data_.SetMepKey("A", "x", 5, 17);
  TakeKeys(kKeyCount);
  data_.ClearMepKey("A", "x", 6, 23);
  data_.ClearMepKey("A", "x", 6, 23);
  EXPECT_EQ(data_.GetNextKey(), 23);
  EXPECT_EQ(data_.GetNextKey(), 23);
  EXPECT_TRUE(data_.MepExists("A", "x", 5));
}

// An unknown MD or MA shows when something is cleared below it.
TEST_F(StatusData, TheLastMepTakesItsMaAlongAndTheLastMaItsMd) {
  Add("A", "x", 1);
  Add("A", "x", 2);
  Add("A", "y", 3);
  data_.ClearMepKey("A", "x", 1, 0);
  EXPECT_EQ(ClearingThrows("A", "x"), "nothing");
  data_.ClearMepKey("A", "x", 2, 1);
  EXPECT_EQ(ClearingThrows("A", "x"), "map::at");
  EXPECT_TRUE(data_.MepExists("A", "y", 3));
  data_.ClearMepKey("A", "y", 3, 2);
  EXPECT_FALSE(data_.MepExists("A", "y", 3));
  EXPECT_EQ(ClearingThrows("A", "y"), "map::at");
}

TEST_F(StatusData, ClearingTheMepsStartsFromKey0AndForgetsThem) {
  Add("A", "x", 1);
  Add("B", "y", 2);
  data_.ClearMepKey("A", "x", 1, 0);
  data_.ClearMeps();
  EXPECT_FALSE(data_.MepExists("B", "y", 2));
  EXPECT_EQ(data_.GetNextKey(), 0);
}

TEST_F(StatusDataDeath, ClearingTheMepsForgetsTheirInfo) {
  Add("A", "x", 1);
  data_.ClearMeps();
  EXPECT_EXIT(
      data_.GetMepInfo(0), ExitedWithCode(1),
      FatalFault("GetMepInfo", "Error getting local MEP info: Invalid key 0", "status.cpp"));
}

TEST_F(StatusData, ClearingTheMepsLeavesTheLastChanges) {
  data_.SetLastChange(3, 10);
  data_.ClearMeps();
  fake::SetUptime(15);
  EXPECT_EQ(data_.GetLastChange(3), "5s ago");
}

TEST_F(StatusData, TheInfoOfAKeyIsTheOneSetLast) {
  data_.SetMepInfo(9, {"A", "x", 1});
  data_.SetMepInfo(9, {"B", "y", 2});
  const cfm::MepInfo info = data_.GetMepInfo(9);
  EXPECT_EQ(info.md, "B");
  EXPECT_EQ(info.ma, "y");
  EXPECT_EQ(info.mep, 2);
}

TEST_F(StatusDataDeath, TheInfoOfAnUnknownOrRemovedKeyIsFatal) {
  data_.SetMepInfo(9, {"A", "x", 1});
  data_.RemoveMepInfo(9);
  data_.RemoveMepInfo(9);
  EXPECT_EXIT(
      data_.GetMepInfo(9), ExitedWithCode(1),
      FatalFault("GetMepInfo", "Error getting local MEP info: Invalid key 9", "status.cpp"));
  EXPECT_EXIT(data_.GetMepInfo(-12345678901), ExitedWithCode(1),
              FatalFault("GetMepInfo", "Error getting local MEP info: Invalid key -12345678901",
                         "status.cpp"));
}

TEST_F(StatusData, TheAgeOfAChangeGrowsWithTheUptime) {
  fake::SetUptime(3825);
  data_.SetLastChange(1, 100);
  EXPECT_EQ(data_.GetLastChange(1), "1h 2min 5s ago");
  fake::SetUptime(3826);
  EXPECT_EQ(data_.GetLastChange(1), "1h 2min 6s ago");
  data_.SetLastChange(1, 3826);
  EXPECT_EQ(data_.GetLastChange(1), "ago");
}

TEST_F(StatusData, KeysAndTimesHave64Bits) {
  constexpr long long kBigKey = (1LL << 32) + 1;
  constexpr long kLater = 1L << 33;
  data_.SetLastChange(1, 0);
  data_.SetLastChange(kBigKey, kLater);
  fake::SetUptime(kLater + 7);
  EXPECT_EQ(data_.GetLastChange(kBigKey), "7s ago");
  data_.SetMepInfo(1, {"A", "x", 1});
  data_.SetMepInfo(kBigKey, {"B", "y", 2});
  EXPECT_EQ(data_.GetMepInfo(1).mep, 1);
  EXPECT_EQ(data_.GetMepInfo(kBigKey).mep, 2);
  data_.SetMepKey("A", "x", 1, kBigKey);
  EXPECT_EQ(data_.GetMepKey("A", "x", 1), kBigKey);
}

// 2^64 - 1 seconds.
constexpr const char* kHugeAge = "584554049253y 10m 1w 1d 1h 41min 39s ago";

TEST_F(StatusData, AChangeAheadOfTheUptimeIsHugelyOld) {
  fake::SetUptime(99);
  data_.SetLastChange(1, 100);
  EXPECT_EQ(data_.GetLastChange(1), kHugeAge);
}

TEST_F(StatusData, WithoutAnUptimeItCountsAsZero) {
  fake::FailUptime();
  data_.SetLastChange(1, 1);
  EXPECT_EQ(data_.GetLastChange(1), kHugeAge);
  data_.SetLastChange(1, 0);
  EXPECT_EQ(data_.GetLastChange(1), "ago");
}

TEST_F(StatusDataDeath, TheLastChangeOfAnUnknownKeyIsFatal) {
  Add("A", "x", 1);
  EXPECT_EXIT(
      data_.GetLastChange(0), ExitedWithCode(1),
      FatalFault("GetLastChange", "Error getting last change: Invalid key 0", "status.cpp"));
}

TEST_F(StatusData, TheLastChangeOutlivesTheRecord) {
  Add("A", "x", 1);
  data_.SetLastChange(0, 40);
  data_.RemoveMepInfo(0);
  data_.ClearMepKey("A", "x", 1, 0);
  fake::SetUptime(100);
  EXPECT_EQ(data_.GetLastChange(0), "1min ago");
}

TEST_F(StatusData, AgesAreShownInUnitsThatCount) {
  const struct {
    unsigned long long seconds;
    const char* text;
  } kAges[] = {
      {0, "ago"},
      {1, "1s ago"},
      {59, "59s ago"},
      {60, "1min ago"},
      {61, "1min 1s ago"},
      {3599, "59min 59s ago"},
      {3600, "1h ago"},
      {3725, "1h 2min 5s ago"},
      {86399, "23h 59min 59s ago"},
      {86400, "1d ago"},
      {90061, "1d 1h 1min 1s ago"},
      {604799, "6d 23h 59min 59s ago"},
      {604800, "1w ago"},
      {2629745, "4w 2d 10h 29min 5s ago"},
      {2629746, "1m ago"},
      {31556951, "11m 4w 2d 10h 29min 5s ago"},
      {31556952, "1y ago"},
      {31556952 + 2629746 + 604800 + 86400 + 3600 + 60 + 1, "1y 1m 1w 1d 1h 1min 1s ago"},
      {31556953, "1y 1s ago"},
      {~0ULL, kHugeAge},
  };
  for (const auto& age : kAges) {
    EXPECT_EQ(data_.SecondsToString(age.seconds), age.text) << age.seconds;
  }
}

TEST_F(StatusData, TheConnectionIsTheOwnersAsItIsNow) {
  EXPECT_EQ(data_.GetConfdInstance(), fake::Connection(1));
  connection_ = fake::Connection(2);
  EXPECT_EQ(data_.GetConfdInstance(), fake::Connection(2));
  connection_ = nullptr;
  EXPECT_EQ(data_.GetConfdInstance(), nullptr);
}

}  // namespace
}  // namespace test
