#include "status/status_callpoint.h"

#include <stdexcept>
#include <string>
#include <vector>

#include "daemon/death.h"
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

constexpr tag::Tag kRemoteList = 0x12345678;
constexpr const char* kOpen = "open running read=1 connection=1";
constexpr const char* kClose = "close";

const std::string kMa = "/config/oam/cfm/md{east}/ma{blue}";
const std::string kMep = kMa + "/mep{5}";

// Record 3 is of MEP 5 of MA "blue" of MD "east".
class StatusCallpoint : public PlatformTest {
 protected:
  StatusCallpoint() { data_.SetMepInfo(3, {"east", "blue", 5}); }

  static confd_hkeypath_t Local(tag::Tag leaf, long long key = 3) {
    return Keypath({Tag(leaf), Int64(key), Tag(tag::kLocal)});
  }
  static confd_hkeypath_t Remote(tag::Tag leaf, long long key = 3) {
    return Keypath({Tag(leaf), Int64(key), Tag(kRemoteList)});
  }

  int GetElem(confd_hkeypath_t keypath) { return callpoint_.GetElemCallback(&tctx_, &keypath); }
  int GetNext(confd_hkeypath_t keypath, long next) {
    return callpoint_.GetNextCallback(&tctx_, &keypath, next);
  }

  // What a read of a leaf of the local list was answered with.
  std::string Answer(tag::Tag leaf) {
    fake::CdbCalls().clear();
    EXPECT_EQ(GetElem(Local(leaf)), CONFD_OK);
    return fake::CdbCalls().at(fake::CdbCalls().size() - 2);
  }
  // The same for one step through a leaf-list.
  std::string Step(tag::Tag leaf, long next) {
    fake::CdbCalls().clear();
    EXPECT_EQ(GetNext(Local(leaf), next), CONFD_OK);
    return fake::CdbCalls().at(fake::CdbCalls().size() - 2);
  }

  static testing::Matcher<const std::string&> Fatal(const std::string& function,
                                                    const std::string& message) {
    return FatalFault(function, message, "status.cpp");
  }

  VelConfdInterface* connection_ = fake::Connection(1);
  cfm::StatusData data_{&connection_};
  cfm::StatusCallpoint callpoint_{"a name", &data_, fake::Category()};
  confd_trans_ctx tctx_ = Transaction(7);
};

using StatusCallpointDeath = StatusCallpoint;

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

TEST_F(StatusCallpointDeath, AnUnknownKeyIsFatal) {
  EXPECT_EXIT(GetElem(Local(tag::kLevel, 4)), ExitedWithCode(1),
              Fatal("GetMepInfo", "Error getting local MEP info: Invalid key 4"));
  EXPECT_EXIT(GetNext(Local(tag::kVlanList, 4), -1), ExitedWithCode(1),
              Fatal("GetMepInfo", "Error getting local MEP info: Invalid key 4"));
  EXPECT_EXIT(GetElem(Remote(tag::kLastStateChange, 4)), ExitedWithCode(1),
              Fatal("GetLastChange", "Error getting last change: Invalid key 4"));
}

constexpr const char* kElement0IsATag = "(&(keypath->v[0][0]))->type == C_XMLTAG";
constexpr const char* kElement1IsAKey = "(&(keypath->v[1][0]))->type == C_INT64";
constexpr const char* kElement2IsATag = "(&(keypath->v[2][0]))->type == C_XMLTAG";

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

TEST_F(StatusCallpoint, AVlanListIsWalkedStepByStep) {
  fake::SetLeaf(kMa + "/vlan-list", std::vector<int>{10, 20, 30});
  EXPECT_EQ(GetNext(Local(tag::kVlanList), -1), CONFD_OK);
  EXPECT_THAT(fake::CdbCalls(), ElementsAre(kOpen, "cdb_exists 40 " + kMa + "/vlan-list",
                                            "cdb_get_list 40 " + kMa + "/vlan-list",
                                            "next_key 7: C_INT32(10) keys=1 next=1", kClose));
  fake::CdbCalls().clear();
  EXPECT_EQ(GetNext(Local(tag::kVlanList), 1), CONFD_OK);
  EXPECT_THAT(fake::CdbCalls(),
              ElementsAre(kOpen, "next_key 7: C_INT32(20) keys=1 next=2", kClose));
  EXPECT_EQ(Step(tag::kVlanList, 2), "next_key 7: C_INT32(30) keys=1 next=3");
  EXPECT_EQ(Step(tag::kVlanList, 3), "next_key 7: none keys=-1 next=-1");
  EXPECT_EQ(Step(tag::kVlanList, 4), "next_key 7: none keys=-1 next=-1");
  EXPECT_THAT(fake::Logs(), IsEmpty());
}

TEST_F(StatusCallpoint, RemoteMepsAreReadUnderTheNameThatTheConfigurationHas) {
  fake::SetLeaf(kMa + "/remote-meps", std::vector<int>{7});
  EXPECT_EQ(Step(tag::kStatusRemoteMeps, -1), "next_key 7: C_INT32(7) keys=1 next=1");
  EXPECT_THAT(fake::CdbCalls(), Contains("cdb_get_list 40 " + kMa + "/remote-meps"));
  EXPECT_EQ(Step(tag::kStatusRemoteMeps, 1), "next_key 7: none keys=-1 next=-1");
}

TEST_F(StatusCallpoint, AnMaWithoutRemoteMepsIsAtTheEndAtOnce) {
  EXPECT_EQ(GetNext(Local(tag::kStatusRemoteMeps), -1), CONFD_OK);
  EXPECT_THAT(fake::CdbCalls(), ElementsAre(kOpen, "cdb_exists 40 " + kMa + "/remote-meps",
                                            "next_key 7: none keys=-1 next=-1", kClose));
}

TEST_F(StatusCallpoint, TheValuesAreThoseOfTheFirstStep) {
  fake::SetLeaf(kMa + "/vlan-list", std::vector<int>{10, 20});
  Step(tag::kVlanList, -1);
  fake::SetLeaf(kMa + "/vlan-list", std::vector<int>{11});
  EXPECT_EQ(Step(tag::kVlanList, 1), "next_key 7: C_INT32(20) keys=1 next=2");
  EXPECT_EQ(Step(tag::kVlanList, -1), "next_key 7: C_INT32(11) keys=1 next=1");
  EXPECT_EQ(Step(tag::kVlanList, 1), "next_key 7: none keys=-1 next=-1");
}

TEST_F(StatusCallpoint, BothListsAndEveryCallpointHaveTheirOwnValues) {
  cfm::StatusCallpoint other("another", &data_, fake::Category());
  fake::SetLeaf(kMa + "/vlan-list", std::vector<int>{10, 20});
  fake::SetLeaf(kMa + "/remote-meps", std::vector<int>{7, 8});
  Step(tag::kVlanList, -1);
  Step(tag::kStatusRemoteMeps, -1);
  EXPECT_EQ(Step(tag::kVlanList, 1), "next_key 7: C_INT32(20) keys=1 next=2");
  EXPECT_EQ(Step(tag::kStatusRemoteMeps, 1), "next_key 7: C_INT32(8) keys=1 next=2");
  confd_hkeypath_t keypath = Local(tag::kVlanList);
  EXPECT_EQ(other.GetNextCallback(&tctx_, &keypath, 1), CONFD_OK);
  EXPECT_THAT(fake::CdbCalls(), Contains("next_key 7: none keys=-1 next=-1"));
}

TEST_F(StatusCallpoint, AWalkThatGoesOnNeedsNoKey) {
  EXPECT_EQ(GetNext(Keypath({Tag(tag::kVlanList), Int32(1)}), 0), CONFD_OK);
  EXPECT_THAT(fake::CdbCalls(), ElementsAre(kOpen, "next_key 7: none keys=-1 next=-1", kClose));
}

TEST_F(StatusCallpoint, AWalkThroughAnotherLeafIsRefusedWithoutASession) {
  EXPECT_EQ(GetNext(Local(tag::kRemoteMeps), -1), CONFD_ERR);
  EXPECT_EQ(GetNext(Local(tag::kLevel), 5), CONFD_ERR);
  EXPECT_THAT(fake::LogTexts(),
              ElementsAre("11 status.cpp GetNextCallback: Get next called for unexpected XML Tag "
                          "of leaf 0x4c09a2b5",
                          "11 status.cpp GetNextCallback: Get next called for unexpected XML Tag "
                          "of leaf 0x7dec02bd"));
  EXPECT_EQ(fake::ValueTextSize(), 64);
  EXPECT_THAT(fake::CdbCalls(), IsEmpty());
}

TEST_F(StatusCallpoint, ACursorBelowTheFirstStepIsOutOfRange) {
  fake::SetLeaf(kMa + "/vlan-list", std::vector<int>{10});
  Step(tag::kVlanList, -1);
  EXPECT_THROW(GetNext(Local(tag::kVlanList), -2), std::out_of_range);
  EXPECT_EQ(fake::OpenSessions(), 0);
}

TEST_F(StatusCallpointDeath, ALeafListThatCannotBeReadIsFatal) {
  fake::SetEmptyLeaf(kMa + "/vlan-list");
  EXPECT_EXIT(GetNext(Local(tag::kVlanList), -1), ExitedWithCode(1),
              Fatal("GetNextCallback",
                    "Error to retrieve /config/oam/cfm/md{east}/ma{blue}/vlan-list configuration"));
  fake::SetEmptyLeaf(kMa + "/remote-meps");
  EXPECT_EXIT(
      GetNext(Local(tag::kStatusRemoteMeps), -1), ExitedWithCode(1),
      Fatal("GetNextCallback",
            "Error to retrieve /config/oam/cfm/md{east}/ma{blue}/remote-meps configuration"));
}

TEST_F(StatusCallpointDeath, AKeypathOfAWalkIsAsserted) {
  EXPECT_DEATH(GetNext(Keypath({Enum(1), Int64(3)}), -1), Assertion(kElement0IsATag));
  EXPECT_DEATH(GetNext(Keypath({Tag(tag::kVlanList), Int32(3)}), -1), Assertion(kElement1IsAKey));
}

TEST_F(StatusCallpointDeath, ElementsOfAnotherTypeFailTheAssertion) {
  fake::SetLeaf(kMa + "/vlan-list", std::vector<fake::Enumeration>{{10}});
  EXPECT_DEATH(GetNext(Local(tag::kVlanList), -1), Assertion("(&(values[i]))->type == C_INT32"));
}

}  // namespace
}  // namespace test
