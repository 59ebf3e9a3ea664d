#include "status/statistics_callpoint.h"

#include <memory>
#include <string>
#include <vector>

#include "daemon/death.h"
#include "daemon/fake_client.h"
#include "daemon/fake_confd.h"
#include "daemon/fake_velconfd.h"
#include "daemon/platform_test.h"
#include "daemon/values.h"
#include "status/status_data.h"

namespace test {
namespace {

namespace tag = cfm::tag;
using testing::Contains;
using testing::ElementsAre;
using testing::ExitedWithCode;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

constexpr tag::Tag kNoStatistics = 0x0000abcd;
constexpr cfm::st_lmep_stats kLocalStats = {0xfedcba9876543210, 0x8000000000000001, 0xffffffff, 4};
constexpr cfm::st_rmep_stats kRemoteStats = {0xfffffffe};

// Records 1 and 2 are of the local MEPs 5 and 6, record 3 of the remote MEP 7.
class StatisticsCallpoint : public PlatformTest {
 protected:
  StatisticsCallpoint() {
    data_.SetMepInfo(1, {"A", "x", 5});
    data_.SetMepInfo(2, {"A", "x", 6});
    data_.SetMepInfo(3, {"A", "x", 7});
    fake::SetUptime(1000);
  }

  int Read(tag::Tag leaf, long long key, int transaction = 7) {
    transactions_.push_back(std::make_unique<confd_trans_ctx>(Transaction(transaction)));
    confd_hkeypath_t keypath = Keypath({Tag(leaf), Int64(key)});
    const int result = callpoint_.GetElemCallback(transactions_.back().get(), &keypath);
    keypath = {};  // ConfD's keypath is gone after the callback
    return result;
  }
  void StoreLocal(const std::string& md, int mep, const cfm::st_lmep_stats& stats = kLocalStats) {
    callpoint_.HandleStatisticsLocalMep(md, "x", static_cast<unsigned short>(mep), stats);
  }
  void StoreRemote(const std::string& md, int mep, const cfm::st_rmep_stats& stats = kRemoteStats) {
    callpoint_.HandleStatisticsRemoteMep(md, "x", 1, static_cast<unsigned short>(mep), stats);
  }

  // Everything that happened since it was asked last.
  static std::vector<std::string> Happened() {
    std::vector<std::string> events;
    events.swap(fake::Events());
    return events;
  }
  // The messages since they were asked for last, without place.
  static std::vector<std::string> Messages() {
    std::vector<std::string> messages;
    for (const fake::LogRecord& record : fake::Logs()) {
      EXPECT_EQ(record.file, "status.cpp");
      messages.push_back(std::to_string(record.level) + " " + record.function + ": " + record.text);
    }
    fake::Logs().clear();
    return messages;
  }
  // Whether the MEP has an entry of its own; asking does not make one.
  bool IsCached(tag::Tag leaf, long long key) {
    confd_value_t value{};
    const confd_hkeypath_t keypath = Keypath({Tag(leaf), Int64(key)});
    return callpoint_.GetConfdValueFromCache(value, &keypath);
  }

  VelConfdInterface* connection_ = nullptr;
  cfm::StatusData data_{&connection_};
  cfm::Client client_{fake::Middleware(), nullptr};
  cfm::StatisticsCallpoint callpoint_{fake::Category(), &client_, &data_};
  std::vector<std::unique_ptr<confd_trans_ctx>> transactions_;
};

using StatisticsCallpointDeath = StatisticsCallpoint;

TEST_F(StatisticsCallpoint, ItsNameIsStatisticsAndItsConstructionIsNotLogged) {
  EXPECT_STREQ(callpoint_.GetCallpoint(), "statistics");
  EXPECT_THAT(Messages(), IsEmpty());
}

TEST_F(StatisticsCallpoint, ItChecksNothingThatItIsGiven) {
  EXPECT_NO_THROW(cfm::StatisticsCallpoint(nullptr, nullptr, nullptr));
}

TEST_F(StatisticsCallpoint, ARecentEntryIsAnsweredAtOnce) {
  StoreLocal("A", 5);
  Happened();
  Messages();
  EXPECT_EQ(Read(tag::kMepCcmsSent, 1), CONFD_OK);
  EXPECT_THAT(
      Happened(),
      ElementsAre("zlog GetElemCallback called to {1}/0x241a391a (MD A, MA x, MEP 5)",
                  "zlog Data in cache is recent", "reply 7: C_UINT64(18364758544493064720)"));
  EXPECT_THAT(
      Messages(),
      ElementsAre(
          "10 GetElemCallback: GetElemCallback called to {1}/0x241a391a (MD A, MA x, MEP 5)",
          "10 GetElemCallback: Data in cache is recent"));
  EXPECT_EQ(fake::StatisticsRequests(), 0);
}

TEST_F(StatisticsCallpoint, EveryLeafHasItsCounterAndType) {
  StoreLocal("A", 5);
  StoreRemote("A", 7);
  const struct {
    tag::Tag leaf;
    long long key;
    const char* answer;
  } kLeaves[] = {
      {0x241a391a, 1, "reply 7: C_UINT64(18364758544493064720)"},
      {0x42cae9f0, 1, "reply 7: C_UINT64(9223372036854775809)"},
      {0x0a5f8784, 1, "reply 7: C_UINT32(4294967295)"},
      {0x1ac436e1, 3, "reply 7: C_UINT32(4294967294)"},
  };
  for (const auto& leaf : kLeaves) {
    Happened();
    EXPECT_EQ(Read(leaf.leaf, leaf.key), CONFD_OK);
    EXPECT_EQ(Happened().back(), leaf.answer);
  }
}

TEST_F(StatisticsCallpoint, AnEntryIsRecentInItsSecondAndTheNextOne) {
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

TEST_F(StatisticsCallpoint, LocalAndRemoteEntriesOfOneMepAreTwo) {
  data_.SetMepInfo(4, {"A", "x", 5});
  StoreLocal("A", 5);
  EXPECT_FALSE(callpoint_.IsRecentStatisticInCache(tag::kRmepCcmsReceived, {"A", "x", 5}));
  StoreRemote("A", 6);
  EXPECT_FALSE(callpoint_.IsRecentStatisticInCache(tag::kMepCcmsSent, {"A", "x", 6}));
}

TEST_F(StatisticsCallpoint, AnOldEntryParksTheReadAndAsksTheManagerOnce) {
  StoreLocal("A", 5);
  fake::SetUptime(1002);
  Happened();
  Messages();
  EXPECT_EQ(Read(tag::kMepCcmsSent, 1), CONFD_DELAYED_RESPONSE);
  EXPECT_THAT(Happened(),
              ElementsAre("zlog GetElemCallback called to {1}/0x241a391a (MD A, MA x, MEP 5)",
                          "zlog Data in cache is too old. Requesting it to CFM Manager...",
                          "RequestStatistics"));
  EXPECT_THAT(
      Messages(),
      Contains("10 GetElemCallback: Data in cache is too old. Requesting it to CFM Manager..."));
}

TEST_F(StatisticsCallpoint, AParkedReadIsAnsweredAtTheEndOfTheStatistics) {
  Read(tag::kMepCcmsSent, 1, 21);
  StoreLocal("A", 5, {42, 0, 0, 0});
  Happened();
  Messages();
  callpoint_.HandleStatisticsFinished();
  EXPECT_THAT(Happened(),
              ElementsAre("zlog End of statistics receiving", "zlog Queued keypath: {1}/0x241a391a",
                          "reply 21: C_UINT64(42)"));
  EXPECT_THAT(Messages(), ElementsAre("10 HandleStatisticsFinished: End of statistics receiving",
                                      "10 HandleStatisticsFinished: Queued keypath: "
                                      "{1}/0x241a391a"));
  callpoint_.HandleStatisticsFinished();
  EXPECT_THAT(Happened(), Not(Contains(HasSubstr("reply"))));
}

// The age of the entry no longer matters.
TEST_F(StatisticsCallpoint, AParkedReadIsAnsweredWithWhatThereIs) {
  StoreLocal("A", 5, {42, 0, 0, 0});
  fake::SetUptime(5000);
  Read(tag::kMepCcmsSent, 1);
  fake::SetUptime(9000);
  callpoint_.HandleStatisticsFinished();
  EXPECT_EQ(Happened().back(), "reply 7: C_UINT64(42)");
}

TEST_F(StatisticsCallpoint, EveryParkedReadSendsARequestAndEveryEndAnswersTheOldest) {
  EXPECT_EQ(Read(tag::kMepCcmsSent, 1, 21), CONFD_DELAYED_RESPONSE);
  EXPECT_EQ(Read(tag::kMepCcmsReceived, 2, 22), CONFD_DELAYED_RESPONSE);
  EXPECT_EQ(Read(tag::kRmepCcmsReceived, 3, 23), CONFD_DELAYED_RESPONSE);
  EXPECT_EQ(fake::StatisticsRequests(), 3);
  for (const char* reply :
       {"reply 21: C_UINT64(0)", "reply 22: C_UINT64(0)", "reply 23: C_UINT32(0)"}) {
    Happened();
    callpoint_.HandleStatisticsFinished();
    EXPECT_THAT(Happened(), ElementsAre("zlog End of statistics receiving",
                                        HasSubstr("zlog Queued keypath: "), reply));
  }
}

TEST_F(StatisticsCallpoint, AnEndThatNobodyWaitsForIsLogged) {
  callpoint_.HandleStatisticsFinished();
  EXPECT_THAT(Messages(), ElementsAre("10 HandleStatisticsFinished: End of statistics receiving",
                                      "10 HandleStatisticsFinished: Statistics received but it was "
                                      "not waiting for it."));
}

TEST_F(StatisticsCallpoint, AnUnknownLeafIsNeverAnsweredAndHoldsBackTheReadsBehindIt) {
  EXPECT_EQ(Read(kNoStatistics, 1, 21), CONFD_DELAYED_RESPONSE);
  EXPECT_EQ(Read(tag::kMepCcmsSent, 1, 22), CONFD_DELAYED_RESPONSE);
  EXPECT_EQ(fake::StatisticsRequests(), 2);
  Messages();
  Happened();
  for (int i = 0; i < 2; ++i) {
    callpoint_.HandleStatisticsFinished();
    EXPECT_THAT(Messages(),
                ElementsAre("10 HandleStatisticsFinished: End of statistics receiving",
                            "10 HandleStatisticsFinished: Queued keypath: {1}/0x0000abcd",
                            "12 GetConfdValueFromCache: Error: unexpected XMLTAG 0x0000abcd when "
                            "getting value from cache",
                            "11 HandleStatisticsFinished: Error getting data from cache"));
  }
  EXPECT_THAT(Happened(), Not(Contains(HasSubstr("reply"))));
  EXPECT_EQ(fake::ValueTextSize(), 128);
}

TEST_F(StatisticsCallpoint, AnEntryThatWasClearedMeanwhileLeavesTheReadAtTheFront) {
  Read(tag::kMepCcmsSent, 1, 21);
  callpoint_.ClearStatisticsCache({"", "", 0});
  Messages();
  callpoint_.HandleStatisticsFinished();
  EXPECT_THAT(Messages(),
              ElementsAre("10 HandleStatisticsFinished: End of statistics receiving",
                          "10 HandleStatisticsFinished: Queued keypath: {1}/0x241a391a",
                          "12 GetConfdValueFromCache: Error: Cache not found (Local MD A, MA x, "
                          "MEP 5)",
                          "11 HandleStatisticsFinished: Error getting data from cache"));
  StoreLocal("A", 5, {8, 0, 0, 0});
  callpoint_.HandleStatisticsFinished();
  EXPECT_EQ(Happened().back(), "reply 21: C_UINT64(8)");
}

// It takes an entry that goes while it is being answered.
TEST_F(StatisticsCallpoint, ARecentEntryWithoutAValueIsAnErrorWithoutAReply) {
  StoreLocal("A", 5);
  Happened();
  Messages();
  fake::OnLog([this](const fake::LogRecord& record) {
    if (record.text == "Data in cache is recent") {
      callpoint_.ClearStatisticsCache({"", "", 0});
    }
  });
  EXPECT_EQ(Read(tag::kMepCcmsSent, 1), CONFD_ERR);
  EXPECT_EQ(Messages().back(), "12 GetElemCallback: Error getting value from cache");
  EXPECT_THAT(Happened(), Not(Contains(HasSubstr("reply"))));
}

TEST_F(StatisticsCallpoint, AMissingRemoteEntryIsLoggedAsALocalOne) {
  EXPECT_FALSE(IsCached(tag::kRmepCcmsReceived, 3));
  EXPECT_THAT(Messages(), ElementsAre("12 GetConfdValueFromCache: Error: Cache not found (Local MD "
                                      "A, MA x, MEP 7)"));
}

TEST_F(StatisticsCallpoint, LookingForAValueMakesNoEntry) {
  EXPECT_FALSE(IsCached(tag::kMepCcmsSent, 1));
  EXPECT_FALSE(IsCached(tag::kMepCcmsSent, 1));
}

TEST_F(StatisticsCallpoint, AnEntryThatIsMissingIsMadeWhenItsAgeIsAsked) {
  EXPECT_FALSE(callpoint_.IsRecentStatisticInCache(tag::kMepCcmsSent, {"A", "x", 5}));
  EXPECT_FALSE(callpoint_.IsRecentStatisticInCache(tag::kRmepCcmsReceived, {"A", "x", 7}));
  EXPECT_TRUE(IsCached(tag::kMepCcmsSent, 1));
  EXPECT_TRUE(IsCached(tag::kRmepCcmsReceived, 3));
  EXPECT_FALSE(IsCached(tag::kMepCcmsSent, 2));
}

TEST_F(StatisticsCallpoint, AnUnknownLeafIsNotRecentAndMakesNoEntry) {
  StoreLocal("A", 5);
  EXPECT_FALSE(callpoint_.IsRecentStatisticInCache(kNoStatistics, {"A", "x", 5}));
  EXPECT_FALSE(callpoint_.IsRecentStatisticInCache(kNoStatistics, {"A", "x", 6}));
  EXPECT_FALSE(IsCached(tag::kMepCcmsSent, 2));
  EXPECT_FALSE(IsCached(tag::kRmepCcmsReceived, 2));
}

TEST_F(StatisticsCallpoint, AMepThatTheManagerNeverReportsReadsAsZero) {
  EXPECT_EQ(Read(tag::kMepCcmSequenceErrors, 1), CONFD_DELAYED_RESPONSE);
  callpoint_.HandleStatisticsFinished();
  EXPECT_EQ(Happened().back(), "reply 7: C_UINT32(0)");
}

TEST_F(StatisticsCallpoint, AnEntryOfItsOwnMakingIsRecentRightAfterTheSystemsStart) {
  fake::SetUptime(1);
  EXPECT_EQ(Read(tag::kMepCcmsSent, 1), CONFD_OK);
  EXPECT_EQ(Happened().back(), "reply 7: C_UINT64(0)");
  fake::SetUptime(2);
  EXPECT_EQ(Read(tag::kMepCcmsSent, 1), CONFD_DELAYED_RESPONSE);
}

TEST_F(StatisticsCallpoint, WithoutAnUptimeItCountsAsZero) {
  StoreLocal("A", 5);
  fake::FailUptime();
  EXPECT_EQ(Read(tag::kMepCcmsSent, 1), CONFD_DELAYED_RESPONSE);
  StoreLocal("A", 5);
  EXPECT_EQ(Read(tag::kMepCcmsSent, 1), CONFD_OK);
}

TEST_F(StatisticsCallpoint, LaterStatisticsOverwriteEarlierOnesAndTheirAge) {
  StoreLocal("A", 5, {1, 1, 1, 1});
  fake::SetUptime(2000);
  StoreLocal("A", 5, {2, 3, 4, 5});
  EXPECT_EQ(Read(tag::kMepCcmsReceived, 1), CONFD_OK);
  EXPECT_EQ(Happened().back(), "reply 7: C_UINT64(3)");
}

TEST_F(StatisticsCallpoint, StatisticsThatArriveAreLogged) {
  callpoint_.HandleStatisticsLocalMep("A", "x", 65535, kLocalStats);
  callpoint_.HandleStatisticsRemoteMep("A", "x", 1, 7, kRemoteStats);
  EXPECT_THAT(
      Messages(),
      ElementsAre(
          "10 HandleStatisticsLocalMep: Local MEP statistics received (MD A, MA x, MEP 65535)",
          "10 HandleStatisticsRemoteMep: Remote MEP statistics received (MD A, MA x, MEP 7)"));
}

TEST_F(StatisticsCallpoint, ARemoteMepSeenByTwoLocalMepsHasOneEntry) {
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

TEST_F(StatisticsCallpoint, ClearingTakesTheMatchingEntriesInTheirOrderLocalOnesFirst) {
  StoreRemote("A", 5);
  StoreRemote("AA", 5);
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
  EXPECT_THAT(Messages(), ElementsAre("10 ClearStatisticsCache: Clearing statistics from cache"));
}

TEST_F(StatisticsCallpoint, APatternMatchesWhereEveryPartIsAnyOrTheSame) {
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

TEST_F(StatisticsCallpoint, AWalkIsRefused) {
  confd_hkeypath_t keypath = Keypath({Tag(tag::kMepCcmsSent), Int64(1)});
  EXPECT_EQ(callpoint_.GetNextCallback(nullptr, &keypath, -1), CONFD_ERR);
  EXPECT_THAT(Messages(),
              ElementsAre("10 GetNextCallback: GetNextCallback (not implemented) called to "
                          "{1}/0x241a391a"));
}

TEST_F(StatisticsCallpoint, LongKeypathsAreCutInTheMessages) {
  fake::SetKeypathText(std::string(500, 'k'));
  const std::string cut(127, 'k');
  confd_hkeypath_t keypath = Keypath({Tag(tag::kMepCcmsSent), Int64(1)});
  callpoint_.GetNextCallback(nullptr, &keypath, -1);
  Read(tag::kMepCcmsSent, 1);
  callpoint_.HandleStatisticsFinished();
  const auto messages = Messages();
  EXPECT_THAT(messages,
              Contains("10 GetNextCallback: GetNextCallback (not implemented) called to " + cut));
  EXPECT_THAT(messages, Contains("10 GetElemCallback: GetElemCallback called to " + cut +
                                 " (MD A, MA x, MEP 5)"));
  EXPECT_THAT(messages, Contains("10 HandleStatisticsFinished: Queued keypath: " + cut));
}

TEST_F(StatisticsCallpoint, ParkedReadsGetNoReplyFromItsDestruction) {
  auto callpoint = std::make_unique<cfm::StatisticsCallpoint>(fake::Category(), &client_, &data_);
  confd_trans_ctx transaction = Transaction(7);
  confd_hkeypath_t keypath = Keypath({Tag(tag::kMepCcmsSent), Int64(1)});
  EXPECT_EQ(callpoint->GetElemCallback(&transaction, &keypath), CONFD_DELAYED_RESPONSE);
  Happened();
  callpoint.reset();
  EXPECT_THAT(Happened(), ElementsAre("~Callpoint"));
}

TEST_F(StatisticsCallpointDeath, AnUnknownKeyIsFatalAlsoForAParkedRead) {
  const auto fatal =
      FatalFault("GetMepInfo", "Error getting local MEP info: Invalid key 1", "status.cpp");
  Read(tag::kMepCcmsSent, 1);
  data_.RemoveMepInfo(1);
  EXPECT_EXIT(Read(tag::kMepCcmsSent, 1), ExitedWithCode(1), fatal);
  EXPECT_EXIT(callpoint_.HandleStatisticsFinished(), ExitedWithCode(1), fatal);
}

constexpr const char* kElement0IsATag = "(&keypath->v[0][0])->type == C_XMLTAG";
constexpr const char* kElement1IsAKey = "(&keypath->v[1][0])->type == C_INT64";

TEST_F(StatisticsCallpointDeath, AKeypathOfAReadIsAssertedLeafFirst) {
  const auto read = [this](confd_hkeypath_t keypath) {
    confd_trans_ctx transaction{};
    callpoint_.GetElemCallback(&transaction, &keypath);
  };
  EXPECT_DEATH(read(Keypath({Enum(1), Enum(1)})), Assertion(kElement0IsATag));
  EXPECT_DEATH(read(Keypath({Tag(tag::kMepCcmsSent), Int32(1)})), Assertion(kElement1IsAKey));
}

TEST_F(StatisticsCallpointDeath, AKeypathForTheCacheIsAssertedKeyFirst) {
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
