// The agent goes and comes back.
#include "framework_test.h"

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

namespace test {
namespace {

using ReconnectTest = FrameworkTest;

TEST_F(ReconnectTest, ALossIsToldToEveryHandlerAndThenToTheRest) {
  Start();
  agent_.Die();
  ASSERT_TRUE(Await("agent down"));
  EXPECT_THAT(journal_, ElementsAre("config disconnected", "action disconnected",
                                    "status disconnected", "agent down"));
  EXPECT_EQ(agent_.OpenConnections(), 0U);
}

TEST_F(ReconnectTest, TheSameConfigurationIsServedOnWithoutLoadOrApply) {
  Start();
  agent_.Die();
  ASSERT_TRUE(Await("agent down"));
  journal_.clear();
  agent_.Appear();
  ASSERT_TRUE(Await("agent up"));
  EXPECT_THAT(
      journal_,
      ElementsAre("lock", "txid", "subscribe /config/oam/cfm/md/ma/mep/ 4000000007",
                  "subscribe /config/oam/cfm/md/ma/ 4000000007",
                  "subscribe /config/oam/cfm/md/ 4000000007", "subscribe done", "end session",
                  "config connected 2", "action connected 2", "status connected 2",
                  "connect control", "connect worker", "register transactions",
                  "register callpoint statistics", "register callpoint level",
                  "register action act", "register done", "agent up"));
}

TEST_F(ReconnectTest, AnotherConfigurationEndsTheLoopBeforeAHandlerIsCalled) {
  Start();
  agent_.Die();
  ASSERT_TRUE(Await("agent down"));
  journal_.clear();
  agent_.MoveOn();
  agent_.Appear();
  ASSERT_TRUE(Await("end of loop"));
  EXPECT_THAT(journal_, ElementsAre("lock", "txid", "end of loop"));
  EXPECT_THAT(middleware_.end_reason, HasSubstr("the configuration has moved on while the agent "
                                                "was away"));
  EXPECT_EQ(agent_.OpenConnections(), 0U);
}

TEST_F(ReconnectTest, AHangUpOnTheDataSocketAloneIsALoss) {
  Start();
  agent_.HangUp(CDB_DATA_SOCKET);
  ASSERT_TRUE(Await("agent down"));
  EXPECT_TRUE(Await("agent up"));  // the agent is still there
}

TEST_F(ReconnectTest, AnAgentThatTalksOutOfTurnIsLeft) {
  Start();
  agent_.Babble();
  ASSERT_TRUE(Await("agent down"));
  EXPECT_THAT(LogRecords().back().text, HasSubstr("nobody asked for"));
  EXPECT_TRUE(Await("agent up"));
}

TEST_F(ReconnectTest, AHangUpOnTheSubscriptionSocketAloneIsALoss) {
  Start();
  agent_.HangUp(CDB_SUBSCRIPTION_SOCKET);
  ASSERT_TRUE(Await("agent down"));
  EXPECT_TRUE(Await("agent up"));
}

TEST_F(ReconnectTest, ADeathDuringTheReconnectionIsNotToldTwice) {
  Start();
  agent_.Die();
  ASSERT_TRUE(Await("agent down"));
  agent_.Appear();
  agent_.DieAt("subscribe done");
  middleware_.RunDue();
  journal_.clear();
  agent_.Appear();
  ASSERT_TRUE(Await("agent up"));
  EXPECT_THAT(journal_, Not(Contains("agent down")));
  EXPECT_THAT(journal_, Not(Contains("config disconnected")));
}

TEST_F(ReconnectTest, ManyLossesAreAsGoodAsOne) {
  Start();
  for (int round = 1; round <= 5; ++round) {
    agent_.Die();
    ASSERT_TRUE(Await("agent down", round));
    agent_.Appear();
    ASSERT_TRUE(Await("agent up", round));
  }
  EXPECT_THAT(journal_, Not(Contains("ready")));
}

TEST_F(ReconnectTest, AHandlerThatThrowsAtTheLossEndsTheLoop) {
  Start();
  reactions_["action disconnected"] = [] { throw std::runtime_error("no"); };
  agent_.Die();
  ASSERT_TRUE(Await("end of loop"));
  EXPECT_THAT(journal_, ElementsAre("config disconnected", "action disconnected", "end of loop"));
}

TEST_F(ReconnectTest, TheDestructorCallsNobodyAndLeavesNothing) {
  Start();
  EXPECT_NE(status_.Connection(), nullptr);
  app_.reset();
  EXPECT_EQ(config_.Connection(), nullptr);
  EXPECT_EQ(action_.Connection(), nullptr);
  EXPECT_EQ(status_.Connection(), nullptr);
  EXPECT_EQ(agent_.OpenConnections(), 0U);
  agent_.Die();
  agent_.Appear();
  middleware_.RunDue();
  EXPECT_THAT(journal_, IsEmpty());
}

TEST_F(ReconnectTest, TheDestructorStopsAWaitingFramework) {
  Build();
  middleware_.RunDue();
  app_.reset();
  agent_.Appear();
  middleware_.RunDue();
  EXPECT_THAT(journal_, IsEmpty());
}

}  // namespace
}  // namespace test
