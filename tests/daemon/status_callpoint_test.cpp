// Leaves that are computed when they are read.
#include <string>

#include "daemon/status_callpoint_fixture.h"

namespace test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::ExitedWithCode;
using testing::IsEmpty;

using StatusCallpointDeath = StatusCallpoint;

constexpr const char* kElement0IsATag = "(&(keypath->v[0][0]))->type == C_XMLTAG";
constexpr const char* kElement1IsAKey = "(&(keypath->v[1][0]))->type == C_INT64";
constexpr const char* kElement2IsATag = "(&(keypath->v[2][0]))->type == C_XMLTAG";

TEST_F(StatusCallpoint, ItHasTheNameThatItWasGiven) {
  EXPECT_STREQ(callpoint_.GetCallpoint(), "a name");
}

TEST_F(StatusCallpoint, TheLevelIsTheMds) {
  fake::SetLeaf("/config/oam/cfm/md{east}/level", 6);
  EXPECT_EQ(GetElem(Local(tag::kLevel)), CONFD_OK);
  EXPECT_THAT(fake::CdbCalls(),
              ElementsAre(kOpen, "cdb_get_int32 40 /config/oam/cfm/md{east}/level",
                          "reply 7: C_INT32(6)", kClose));
  EXPECT_THAT(fake::Logs(), IsEmpty());
}

TEST_F(StatusCallpoint, TheCcmIntervalIsTheMasUnchanged) {
  for (const int interval : {0, 3, 99}) {
    fake::SetLeaf(kMa + "/ccm-interval", fake::Enumeration{interval});
    fake::CdbCalls().clear();
    EXPECT_EQ(GetElem(Local(tag::kCcmInterval)), CONFD_OK);
    EXPECT_THAT(fake::CdbCalls(),
                ElementsAre(kOpen, "cdb_get_enum_value 40 " + kMa + "/ccm-interval",
                            "reply 7: C_ENUM_VALUE(" + std::to_string(interval) + ")", kClose));
  }
}

TEST_F(StatusCallpoint, ThePrimaryVlanIdIsTheMasWhereTheMepHasNone) {
  fake::SetLeaf(kMa + "/primary-vlan-id", 10);
  EXPECT_EQ(GetElem(Local(tag::kPrimaryVlanId)), CONFD_OK);
  EXPECT_THAT(fake::CdbCalls(), ElementsAre(kOpen, "cdb_exists 40 " + kMep + "/primary-vlan-id",
                                            "cdb_get_int32 40 " + kMa + "/primary-vlan-id",
                                            "reply 7: C_INT32(10)", kClose));
}

TEST_F(StatusCallpoint, ThePrimaryVlanIdOfTheMepWinsOverTheMas) {
  fake::SetLeaf(kMa + "/primary-vlan-id", 10);
  fake::SetLeaf(kMep + "/primary-vlan-id", 20);
  EXPECT_EQ(GetElem(Local(tag::kPrimaryVlanId)), CONFD_OK);
  EXPECT_THAT(fake::CdbCalls(), ElementsAre(kOpen, "cdb_exists 40 " + kMep + "/primary-vlan-id",
                                            "cdb_get_int32 40 " + kMep + "/primary-vlan-id",
                                            "reply 7: C_INT32(20)", kClose));
}

TEST_F(StatusCallpoint, APrimaryVlanIdOfTheMepThatCannotBeReadIsZeroWithAWarning) {
  fake::SetLeaf(kMa + "/primary-vlan-id", 10);
  fake::SetEmptyLeaf(kMep + "/primary-vlan-id");
  EXPECT_EQ(Answer(tag::kPrimaryVlanId), "reply 7: C_INT32(0)");
  EXPECT_THAT(fake::LogTexts(),
              ElementsAre("11 status.cpp GetElemCallback: Error to retrieve primary-vlan-id "
                          "configuration (item does not exist)"));
}

// Only a plain no leads to the MA's value.
TEST_F(StatusCallpoint, AFailedQuestionWhetherTheMepHasAPrimaryVlanIdCountsAsYes) {
  fake::SetLeaf(kMa + "/primary-vlan-id", 10);
  fake::FailCdb(kMep + "/primary-vlan-id", "no session");
  EXPECT_EQ(Answer(tag::kPrimaryVlanId), "reply 7: C_INT32(0)");
  EXPECT_THAT(fake::LogTexts(),
              ElementsAre("11 status.cpp GetElemCallback: Error to retrieve primary-vlan-id "
                          "configuration (no session)"));
}

TEST_F(StatusCallpoint, TheDirectionIsZeroOrOne) {
  const struct {
    int configured;
    const char* answer;
  } kDirections[] = {{0, "reply 7: C_ENUM_VALUE(0)"},
                     {1, "reply 7: C_ENUM_VALUE(1)"},
                     {2, "reply 7: C_ENUM_VALUE(1)"},
                     {-1, "reply 7: C_ENUM_VALUE(1)"}};
  for (const auto& direction : kDirections) {
    fake::SetLeaf(kMep + "/direction", fake::Enumeration{direction.configured});
    EXPECT_EQ(Answer(tag::kDirection), direction.answer) << direction.configured;
  }
  EXPECT_THAT(fake::CdbCalls(), Contains("cdb_get_enum_value 40 " + kMep + "/direction"));
}

TEST_F(StatusCallpoint, TheInterfaceIsItsNameCutTo63Characters) {
  fake::SetLeaf(kMep + "/interface", std::string("eth-1/2"));
  EXPECT_EQ(Answer(tag::kInterface), "reply 7: C_STR(eth-1/2)");
  EXPECT_THAT(fake::CdbCalls(), Contains("cdb_get_str 40 " + kMep + "/interface"));
  fake::SetLeaf(kMep + "/interface", std::string(100, 'i'));
  EXPECT_EQ(Answer(tag::kInterface), "reply 7: C_STR(" + std::string(63, 'i') + ")");
}

TEST_F(StatusCallpoint, FaultTimesAreADashWithoutContinuityCheck) {
  EXPECT_EQ(Answer(tag::kFaultAlarmTime), "reply 7: C_STR(-)");
  EXPECT_EQ(Answer(tag::kFaultResetTime), "reply 7: C_STR(-)");
  EXPECT_THAT(fake::CdbCalls(), ElementsAre(kOpen, "cdb_exists 40 " + kMep + "/continuity-check",
                                            "reply 7: C_STR(-)", kClose));
}

TEST_F(StatusCallpoint, FaultTimesAreShownInMilliseconds) {
  const std::string check = kMep + "/continuity-check";
  fake::SetEmptyLeaf(check);
  fake::SetLeaf(check + "/fault-alarm-time", 2500);
  fake::SetLeaf(check + "/fault-reset-time", 10000);
  EXPECT_EQ(GetElem(Local(tag::kFaultAlarmTime)), CONFD_OK);
  EXPECT_THAT(fake::CdbCalls(), ElementsAre(kOpen, "cdb_exists 40 " + check,
                                            "cdb_get_int32 40 " + check + "/fault-alarm-time",
                                            "reply 7: C_STR(2500ms)", kClose));
  fake::CdbCalls().clear();
  EXPECT_EQ(GetElem(Local(tag::kFaultResetTime)), CONFD_OK);
  EXPECT_THAT(fake::CdbCalls(), ElementsAre(kOpen, "cdb_exists 40 " + check,
                                            "cdb_get_int32 40 " + check + "/fault-reset-time",
                                            "reply 7: C_STR(10000ms)", kClose));
  fake::SetLeaf(check + "/fault-alarm-time", 0);
  EXPECT_EQ(Answer(tag::kFaultAlarmTime), "reply 7: C_STR(0ms)");
}

TEST_F(StatusCallpoint, AFailedQuestionForContinuityCheckLeadsToTheRead) {
  fake::FailCdb(kMep + "/continuity-check", "no session");
  fake::SetLeaf(kMep + "/continuity-check/fault-alarm-time", 3500);
  EXPECT_EQ(Answer(tag::kFaultAlarmTime), "reply 7: C_STR(3500ms)");
  fake::SetLeaf(kMep + "/continuity-check/fault-reset-time", 4500);
  EXPECT_EQ(Answer(tag::kFaultResetTime), "reply 7: C_STR(4500ms)");
}

TEST_F(StatusCallpoint, TheLastStateChangeIsAnAge) {
  data_.SetLastChange(3, 100);
  fake::SetUptime(161);
  EXPECT_EQ(GetElem(Local(tag::kLastStateChange)), CONFD_OK);
  EXPECT_THAT(fake::CdbCalls(), ElementsAre(kOpen, "reply 7: C_STR(1min 1s ago)", kClose));
}

TEST_F(StatusCallpoint, TheLastStateChangeOfARemoteRecordNeedsNothingButTheKey) {
  data_.SetLastChange(99, 100);
  fake::SetUptime(105);
  EXPECT_EQ(GetElem(Remote(tag::kLastStateChange, 99)), CONFD_OK);
  EXPECT_THAT(fake::CdbCalls(), ElementsAre(kOpen, "reply 7: C_STR(5s ago)", kClose));
}

TEST_F(StatusCallpoint, TheKeyOfARecordHas64Bits) {
  constexpr long long kBigKey = (1LL << 32) + 3;
  data_.SetMepInfo(kBigKey, {"west", "red", 6});
  fake::SetLeaf("/config/oam/cfm/md{east}/level", 6);
  fake::SetLeaf("/config/oam/cfm/md{west}/level", 2);
  EXPECT_EQ(GetElem(Local(tag::kLevel, kBigKey)), CONFD_OK);
  EXPECT_THAT(fake::CdbCalls(), Contains("reply 7: C_INT32(2)"));
  data_.SetLastChange(3, 0);
  data_.SetLastChange(kBigKey, 100);
  fake::SetUptime(105);
  EXPECT_EQ(GetElem(Remote(tag::kLastStateChange, kBigKey)), CONFD_OK);
  EXPECT_THAT(fake::CdbCalls(), Contains("reply 7: C_STR(5s ago)"));
}

TEST_F(StatusCallpoint, LeavesOfARemoteRecordAreLookedForWithoutNames) {
  fake::SetLeaf("/config/oam/cfm/md{}/level", 6);
  EXPECT_EQ(GetElem(Remote(tag::kLevel)), CONFD_OK);
  EXPECT_THAT(fake::CdbCalls(), Contains("cdb_get_int32 40 /config/oam/cfm/md{}/level"));
}

TEST_F(StatusCallpoint, ASessionIsOpenedOnTheConnectionAsItIsNow) {
  data_.SetLastChange(3, 0);
  connection_ = fake::Connection(2);
  Answer(tag::kLastStateChange);
  EXPECT_EQ(fake::CdbCalls().front(), "open running read=1 connection=2");
  Step(tag::kVlanList, -1);
  EXPECT_EQ(fake::CdbCalls().front(), "open running read=1 connection=2");
  EXPECT_EQ(fake::OpenSessions(), 0);
}

TEST_F(StatusCallpointDeath, AReadThatFailsIsFatal) {
  fake::SetEmptyLeaf(kMep + "/continuity-check");
  const struct {
    tag::Tag leaf;
    const char* message;
  } kReads[] = {
      {tag::kLevel, "Error to retrieve level configuration"},
      {tag::kCcmInterval, "Error to retrieve ccm-interval configuration"},
      {tag::kPrimaryVlanId, "Error to retrieve primary-vlan-id configuration"},
      {tag::kDirection, "Error to retrieve direction configuration"},
      {tag::kInterface, "Error to retrieve interface configuration"},
      {tag::kFaultAlarmTime, "Error to retrieve fault-alarm-time configuration"},
      {tag::kFaultResetTime, "Error to retrieve fault-reset-time configuration"},
  };
  for (const auto& read : kReads) {
    EXPECT_EXIT(GetElem(Local(read.leaf)), ExitedWithCode(1),
                Fatal("GetElemCallback", read.message));
  }
}

TEST_F(StatusCallpointDeath, AnUnknownLeafIsFatal) {
  EXPECT_EXIT(GetElem(Local(0x0000abcd)), ExitedWithCode(1),
              Fatal("GetElemCallback", "Unsupported Parameter: 0x0000abcd"));
  EXPECT_EXIT(GetElem(Local(tag::kVlanList)), ExitedWithCode(1),
              Fatal("GetElemCallback", "Unsupported Parameter: 0x41131793"));
}

TEST_F(StatusCallpointDeath, TheTextOfAnUnknownLeafIsCutTo63Characters) {
  fake::SetValueText(std::string(100, 'v'));
  EXPECT_EXIT(GetElem(Local(0x0000abcd)), ExitedWithCode(1),
              Fatal("GetElemCallback", "Unsupported Parameter: " + std::string(63, 'v')));
}

TEST_F(StatusCallpointDeath, AnUnknownKeyIsFatal) {
  EXPECT_EXIT(GetElem(Local(tag::kLevel, 4)), ExitedWithCode(1),
              Fatal("GetMepInfo", "Error getting local MEP info: Invalid key 4"));
  EXPECT_EXIT(GetNext(Local(tag::kVlanList, 4), -1), ExitedWithCode(1),
              Fatal("GetMepInfo", "Error getting local MEP info: Invalid key 4"));
  EXPECT_EXIT(GetElem(Remote(tag::kLastStateChange, 4)), ExitedWithCode(1),
              Fatal("GetLastChange", "Error getting last change: Invalid key 4"));
}

TEST_F(StatusCallpointDeath, AKeypathOfAReadIsAssertedKeyFirstThenListThenLeaf) {
  const confd_value_t wrong = Enum(1);
  EXPECT_DEATH(GetElem(Keypath({wrong, wrong, wrong})), Assertion(kElement1IsAKey));
  EXPECT_DEATH(GetElem(Keypath({wrong, Int32(3), Tag(tag::kLocal)})), Assertion(kElement1IsAKey));
  EXPECT_DEATH(GetElem(Keypath({wrong, Int64(3), wrong})), Assertion(kElement2IsATag));
  EXPECT_DEATH(GetElem(Keypath({wrong, Int64(3), Tag(tag::kLocal)})), Assertion(kElement0IsATag));
}

// The MEP is looked up before the leaf is looked at.
TEST_F(StatusCallpointDeath, AnUnknownKeyIsFatalWhateverTheLeaf) {
  EXPECT_EXIT(GetElem(Keypath({Enum(1), Int64(4), Tag(tag::kLocal)})), ExitedWithCode(1),
              Fatal("GetMepInfo", "Error getting local MEP info: Invalid key 4"));
}

}  // namespace
}  // namespace test
