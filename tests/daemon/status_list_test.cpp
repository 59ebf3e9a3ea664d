// Walks through the leaf-lists of a record's MA.
#include <stdexcept>
#include <string>
#include <vector>

#include "daemon/status_callpoint_fixture.h"

namespace test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::ExitedWithCode;
using testing::IsEmpty;

using StatusList = StatusCallpoint;
using StatusListDeath = StatusCallpoint;

constexpr const char* kElement0IsATag = "(&(keypath->v[0][0]))->type == C_XMLTAG";
constexpr const char* kElement1IsAKey = "(&(keypath->v[1][0]))->type == C_INT64";

TEST_F(StatusList, AVlanListIsWalkedStepByStep) {
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

TEST_F(StatusList, RemoteMepsAreReadUnderTheNameThatTheConfigurationHas) {
  fake::SetLeaf(kMa + "/remote-meps", std::vector<int>{7});
  EXPECT_EQ(Step(tag::kStatusRemoteMeps, -1), "next_key 7: C_INT32(7) keys=1 next=1");
  EXPECT_THAT(fake::CdbCalls(), Contains("cdb_get_list 40 " + kMa + "/remote-meps"));
  EXPECT_EQ(Step(tag::kStatusRemoteMeps, 1), "next_key 7: none keys=-1 next=-1");
}

TEST_F(StatusList, AnMaWithoutRemoteMepsIsAtTheEndAtOnce) {
  EXPECT_EQ(GetNext(Local(tag::kStatusRemoteMeps), -1), CONFD_OK);
  EXPECT_THAT(fake::CdbCalls(), ElementsAre(kOpen, "cdb_exists 40 " + kMa + "/remote-meps",
                                            "next_key 7: none keys=-1 next=-1", kClose));
}

TEST_F(StatusList, TheValuesAreThoseOfTheFirstStep) {
  fake::SetLeaf(kMa + "/vlan-list", std::vector<int>{10, 20});
  Step(tag::kVlanList, -1);
  fake::SetLeaf(kMa + "/vlan-list", std::vector<int>{11});
  EXPECT_EQ(Step(tag::kVlanList, 1), "next_key 7: C_INT32(20) keys=1 next=2");
  EXPECT_EQ(Step(tag::kVlanList, -1), "next_key 7: C_INT32(11) keys=1 next=1");
  EXPECT_EQ(Step(tag::kVlanList, 1), "next_key 7: none keys=-1 next=-1");
}

TEST_F(StatusList, BothListsAndEveryCallpointHaveTheirOwnValues) {
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

TEST_F(StatusList, AWalkThatGoesOnNeedsNoKey) {
  EXPECT_EQ(GetNext(Keypath({Tag(tag::kVlanList), Int32(1)}), 0), CONFD_OK);
  EXPECT_THAT(fake::CdbCalls(), ElementsAre(kOpen, "next_key 7: none keys=-1 next=-1", kClose));
}

TEST_F(StatusList, AWalkDoesNotLookAtTheListOfTheRecord) {
  fake::SetLeaf(kMa + "/vlan-list", std::vector<int>{10});
  for (const confd_hkeypath_t& keypath :
       {Remote(tag::kVlanList), Keypath({Tag(tag::kVlanList), Int64(3)})}) {
    fake::CdbCalls().clear();
    EXPECT_EQ(GetNext(keypath, -1), CONFD_OK);
    EXPECT_THAT(fake::CdbCalls(), Contains("next_key 7: C_INT32(10) keys=1 next=1"));
  }
}

TEST_F(StatusList, WalksThroughOneLeafOfTwoRecordsShareTheValues) {
  data_.SetMepInfo(4, {"east", "red", 6});
  fake::SetLeaf(kMa + "/vlan-list", std::vector<int>{10, 20});
  fake::SetLeaf("/config/oam/cfm/md{east}/ma{red}/vlan-list", std::vector<int>{11, 21, 31});
  GetNext(Local(tag::kVlanList, 3), -1);
  GetNext(Local(tag::kVlanList, 4), -1);
  fake::CdbCalls().clear();
  GetNext(Local(tag::kVlanList, 3), 1);
  EXPECT_THAT(fake::CdbCalls(),
              ElementsAre(kOpen, "next_key 7: C_INT32(21) keys=1 next=2", kClose));
}

TEST_F(StatusList, TheKeyOfARecordHas64Bits) {
  constexpr long long kBigKey = (1LL << 32) + 3;
  data_.SetMepInfo(kBigKey, {"east", "red", 6});
  EXPECT_EQ(GetNext(Local(tag::kVlanList, kBigKey), -1), CONFD_OK);
  EXPECT_THAT(fake::CdbCalls(),
              Contains("cdb_exists 40 /config/oam/cfm/md{east}/ma{red}/vlan-list"));
}

TEST_F(StatusList, TheArrayOfTheElementsIsFreed) {
  fake::SetLeaf(kMa + "/vlan-list", std::vector<int>{10, 20});
  Step(tag::kVlanList, -1);
  EXPECT_EQ(fake::FreedLists(), 1);
  Step(tag::kVlanList, 1);
  EXPECT_EQ(fake::FreedLists(), 1);
}

TEST_F(StatusList, AWalkThroughAnotherLeafIsRefusedWithoutASession) {
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

TEST_F(StatusList, ACursorBelowTheFirstStepIsOutOfRange) {
  fake::SetLeaf(kMa + "/vlan-list", std::vector<int>{10});
  Step(tag::kVlanList, -1);
  EXPECT_THROW(GetNext(Local(tag::kVlanList), -2), std::out_of_range);
  EXPECT_EQ(fake::OpenSessions(), 0);
}

TEST_F(StatusListDeath, ALeafListThatCannotBeReadIsFatal) {
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

// Only a plain no is the end of the list.
TEST_F(StatusListDeath, AFailedQuestionForALeafListLeadsToTheRead) {
  fake::FailCdb(kMa + "/vlan-list", "no session");
  EXPECT_EXIT(GetNext(Local(tag::kVlanList), -1), ExitedWithCode(1),
              Fatal("GetNextCallback",
                    "Error to retrieve /config/oam/cfm/md{east}/ma{blue}/vlan-list configuration"));
}

TEST_F(StatusListDeath, AKeypathOfAWalkIsAsserted) {
  EXPECT_DEATH(GetNext(Keypath({Enum(1), Int64(3)}), -1), Assertion(kElement0IsATag));
  EXPECT_DEATH(GetNext(Keypath({Tag(tag::kVlanList), Int32(3)}), -1), Assertion(kElement1IsAKey));
}

TEST_F(StatusListDeath, ElementsOfAnotherTypeFailTheAssertion) {
  fake::SetLeaf(kMa + "/vlan-list", std::vector<fake::Enumeration>{{10}});
  EXPECT_DEATH(GetNext(Local(tag::kVlanList), -1), Assertion("(&(values[i]))->type == C_INT32"));
}

}  // namespace
}  // namespace test
