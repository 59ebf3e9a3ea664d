// Reads of statistics: answered at once, or parked until the manager answers.
#include <memory>
#include <string>

#include "daemon/statistics_fixture.h"

namespace test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::ExitedWithCode;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

using StatisticsCallpointDeath = StatisticsCallpoint;

constexpr const char* kElement0IsATag = "(&keypath->v[0][0])->type == C_XMLTAG";
constexpr const char* kElement1IsAKey = "(&keypath->v[1][0])->type == C_INT64";

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
  fake::SetUptime(1001);
  EXPECT_EQ(Read(tag::kMepCcmsSent, 1, 8), CONFD_OK);
  EXPECT_EQ(Happened().back(), "reply 8: C_UINT64(18364758544493064720)");
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
  EXPECT_EQ(Read(tag::kRmepCcmsReceived, 3, 22), CONFD_DELAYED_RESPONSE);
  StoreRemote("A", 7, {43});
  callpoint_.HandleStatisticsFinished();
  EXPECT_EQ(Happened().back(), "reply 22: C_UINT32(43)");
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

// The client may answer before the request returns.
TEST_F(StatisticsCallpoint, AReadIsParkedBeforeTheManagerIsAsked) {
  fake::OnStatisticsRequest([this] {
    StoreLocal("A", 5, {42, 0, 0, 0});
    callpoint_.HandleStatisticsFinished();
  });
  EXPECT_EQ(Read(tag::kMepCcmsSent, 1, 21), CONFD_DELAYED_RESPONSE);
  EXPECT_EQ(Happened().back(), "reply 21: C_UINT64(42)");
  callpoint_.HandleStatisticsFinished();
  EXPECT_THAT(Happened(), Not(Contains(HasSubstr("reply"))));
}

TEST_F(StatisticsCallpoint, AKeyHas64Bits) {
  constexpr long long kBigKey = (1LL << 32) + 1;
  data_.SetMepInfo(kBigKey, {"B", "x", 9});
  StoreLocal("A", 5, {1, 0, 0, 0});
  StoreLocal("B", 9, {2, 0, 0, 0});
  Happened();
  EXPECT_EQ(Read(tag::kMepCcmsSent, kBigKey), CONFD_OK);
  const auto happened = Happened();
  EXPECT_THAT(happened.front(), HasSubstr("(MD B, MA x, MEP 9)"));
  EXPECT_EQ(happened.back(), "reply 7: C_UINT64(2)");
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
  Read(tag::kMepCcmsSent, 2, 22);
  Happened();
  Messages();
  callpoint_.HandleStatisticsFinished();
  EXPECT_THAT(Messages(),
              ElementsAre("10 HandleStatisticsFinished: End of statistics receiving",
                          "10 HandleStatisticsFinished: Queued keypath: {1}/0x241a391a",
                          "12 GetConfdValueFromCache: Error: Cache not found (Local MD A, MA x, "
                          "MEP 5)",
                          "11 HandleStatisticsFinished: Error getting data from cache"));
  EXPECT_THAT(Happened(), Not(Contains(HasSubstr("reply"))));
  StoreLocal("A", 5, {8, 0, 0, 0});
  StoreLocal("A", 6, {9, 0, 0, 0});
  callpoint_.HandleStatisticsFinished();
  EXPECT_THAT(Happened(), testing::AllOf(Contains("reply 21: C_UINT64(8)"),
                                         Not(Contains(HasSubstr("reply 22")))));
  callpoint_.HandleStatisticsFinished();
  EXPECT_EQ(Happened().back(), "reply 22: C_UINT64(9)");
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

TEST_F(StatisticsCallpoint, AMepThatTheManagerNeverReportsReadsAsZero) {
  EXPECT_EQ(Read(tag::kMepCcmSequenceErrors, 1), CONFD_DELAYED_RESPONSE);
  callpoint_.HandleStatisticsFinished();
  EXPECT_EQ(Happened().back(), "reply 7: C_UINT32(0)");
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

TEST_F(StatisticsCallpointDeath, AKeypathOfAReadIsAssertedLeafFirst) {
  const auto read = [this](confd_hkeypath_t keypath) {
    confd_trans_ctx transaction{};
    callpoint_.GetElemCallback(&transaction, &keypath);
  };
  EXPECT_DEATH(read(Keypath({Enum(1), Enum(1)})), Assertion(kElement0IsATag));
  EXPECT_DEATH(read(Keypath({Tag(tag::kMepCcmsSent), Int32(1)})), Assertion(kElement1IsAKey));
}

}  // namespace
}  // namespace test
