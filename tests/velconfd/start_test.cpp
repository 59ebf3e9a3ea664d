// From nothing to service.
#include <algorithm>
#include <stdexcept>

#include "framework_test.h"
#include "retry_delay.h"

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

namespace test {
namespace {

using StartTest = FrameworkTest;

TEST_F(StartTest, NothingIsCalledBeforeTheLoopRuns) {
  agent_.Appear();
  Build();
  EXPECT_THAT(journal_, IsEmpty());
  EXPECT_EQ(agent_.OpenConnections(), 0U);
}

TEST_F(StartTest, ConnectsLoadsUnderTheLockAppliesAndThenServes) {
  agent_.Appear();
  Build();
  ASSERT_TRUE(Await("ready"));
  EXPECT_THAT(journal_,
              ElementsAre("lock", "txid", "subscribe /config/oam/cfm/md/ma/mep/ 4000000007",
                          "subscribe /config/oam/cfm/md/ma/ 4000000007",
                          "subscribe /config/oam/cfm/md/ 4000000007", "subscribe done",
                          "config connected 2", "action connected 2", "status connected 2",
                          "config load", "txid", "end session", "config apply initial",
                          "connect control", "connect worker", "register transactions",
                          "register callpoint statistics", "register callpoint level",
                          "register action act", "register done", "agent up", "ready"));
  EXPECT_THAT(LogRecords().back().text, StartsWith("Connected to the agent at "));
}

TEST_F(StartTest, TheLoadHasTheLockedSession) {
  int sessions = 0;
  reactions_["config load"] = [&] { sessions = agent_.SessionsOpen(); };
  agent_.Appear();
  Build();
  ASSERT_TRUE(Await("ready"));
  EXPECT_EQ(sessions, 1);
  EXPECT_GE(config_.load_socket, 0);
  EXPECT_EQ(agent_.SessionsOpen(), 0);
}

TEST_F(StartTest, WaitsForAnAgentThatComesLater) {
  Build();
  middleware_.RunDue();
  EXPECT_THAT(journal_, IsEmpty());
  EXPECT_THAT(LogRecords().back().text, StartsWith("Waiting for the agent"));
  agent_.Appear();
  EXPECT_TRUE(Await("ready"));
}

TEST_F(StartTest, AnApplyThatFailsIsLoggedAndServiceBegins) {
  config_.apply_result = -3;
  agent_.Appear();
  Build();
  ASSERT_TRUE(Await("ready"));
  EXPECT_EQ(std::count_if(LogRecords().begin(), LogRecords().end(),
                          [](const LogRecord& record) {
                            return record.level == 11 &&
                                   record.text == "ApplyInitialConfig returned -3";
                          }),
            1);
}

TEST_F(StartTest, RefusesAMiddlewareThatHasNoLoop) {
  EXPECT_THROW(
      velconfd::AppInterface(nullptr, TestCategory(), "cfm-app", {}, {}, {}, ELEM_CONFD_PHASE_2, 0),
      std::exception);
}

TEST_F(StartTest, RefusesASocketPathThatNoSocketCanHave) {
  setenv("CFM_RUNTIME_DIR", std::string(200, 'x').c_str(), 1);
  EXPECT_THROW(Build(), std::length_error);
}

TEST_F(StartTest, APathThatIsNoneEndsTheLoop) {
  config_.AddPoint("config/oam");
  agent_.Appear();
  Build();
  ASSERT_TRUE(Await("end of loop"));
  EXPECT_THAT(middleware_.end_reason, HasSubstr("'config/oam'"));
}

// The agent dies before anything was loaded: the next one is as good as the
// first, and the handlers see a whole start.
class DeathBeforeTheLoad : public FrameworkTest,
                           public testing::WithParamInterface<std::pair<const char*, int>> {};

TEST_P(DeathBeforeTheLoad, WaitsForTheNextAgentAndStartsWithIt) {
  agent_.Appear();
  agent_.DieAt(GetParam().first, GetParam().second);
  Build();
  middleware_.RunDue();
  EXPECT_THAT(journal_, testing::Contains(StartsWith("fails: ")));
  EXPECT_THAT(journal_, testing::Not(testing::Contains("config connected 2")));
  EXPECT_THAT(journal_, testing::Not(testing::Contains("config disconnected")));
  EXPECT_EQ(agent_.OpenConnections(), 0U);
  journal_.clear();
  agent_.Appear();
  ASSERT_TRUE(Await("ready"));
  EXPECT_EQ(journal_.front(), "lock");
  EXPECT_EQ(std::count(journal_.begin(), journal_.end(), "config load"), 1);
}

INSTANTIATE_TEST_SUITE_P(EveryStep, DeathBeforeTheLoad,
                         testing::Values(std::pair("connect data", 1), std::pair("schemas", 1),
                                         std::pair("lock", 1), std::pair("txid", 1),
                                         std::pair("connect subscription", 1),
                                         std::pair("subscribe", 1), std::pair("subscribe", 3),
                                         std::pair("subscribe done", 1)));

TEST_F(StartTest, AnAgentThatIsThereThoughOneAttemptFailedIsTriedAgain) {
  agent_.Appear();
  agent_.DieAt("connect data");
  Build();
  middleware_.RunDue();
  EXPECT_THAT(journal_, testing::Contains("fails: connect data"));
  agent_.ListenAgain();
  EXPECT_TRUE(Await("ready"));
}

TEST(RetryDelay, GrowsUntilTheAgentIsConnected) {
  velconfd::RetryDelay delay;
  EXPECT_EQ(delay.Next(), velconfd::RetryDelay::kFirst);
  EXPECT_EQ(delay.Next(), 2 * velconfd::RetryDelay::kFirst);
  velconfd::RetryDelay::Duration last{};
  for (int i = 0; i < 20; ++i) {
    last = delay.Next();
  }
  EXPECT_EQ(last, velconfd::RetryDelay::kLongest);
  delay.Reset();
  EXPECT_EQ(delay.Next(), velconfd::RetryDelay::kFirst);
}

TEST_F(StartTest, AnAgentThatRefusesAndStaysIsTriedAgain) {
  agent_.Appear();
  agent_.Refuse("subscribe");
  Build();
  EXPECT_TRUE(Await("ready"));
}

TEST_F(StartTest, AnAgentThatDiesWhileTheHandlersConnectIsLostBeforeTheLoad) {
  reactions_["status connected 2"] = [&] {
    reactions_.clear();
    agent_.Die();
  };
  agent_.Appear();
  Build();
  // The load finds nobody: that it was begun is enough.
  ASSERT_TRUE(Await("end of loop"));
}

TEST_F(StartTest, AnAgentLostDuringTheLoadEndsTheLoop) {
  reactions_["config load"] = [&] { agent_.Die(); };
  agent_.Appear();
  Build();
  ASSERT_TRUE(Await("end of loop"));
  middleware_.RunDue();
  EXPECT_THAT(middleware_.end_reason, HasSubstr("during the initial load"));
  EXPECT_THAT(journal_, testing::IsSupersetOf(
                            {"config disconnected", "action disconnected", "status disconnected"}));
  EXPECT_THAT(journal_, testing::Not(testing::Contains("config apply initial")));
  EXPECT_THAT(journal_, testing::Not(testing::Contains("ready")));
  EXPECT_EQ(agent_.OpenConnections(), 0U);
}

TEST_F(StartTest, AfterTheEndNothingIsTriedAnyMore) {
  reactions_["config load"] = [&] { agent_.Die(); };
  agent_.Appear();
  Build();
  ASSERT_TRUE(Await("end of loop"));
  journal_.clear();
  agent_.Appear();
  middleware_.RunDue();
  EXPECT_THAT(journal_, IsEmpty());
}

TEST_F(StartTest, AConfigurationThatMovesUnderTheLockEndsTheLoop) {
  reactions_["config load"] = [&] { agent_.MoveOn(); };
  agent_.Appear();
  Build();
  ASSERT_TRUE(Await("end of loop"));
  EXPECT_THAT(journal_, testing::Not(testing::Contains("config apply initial")));
}

TEST_F(StartTest, AnAgentLostAfterTheLoadIsAwaitedAndTheApplyFollows) {
  agent_.Appear();
  agent_.DieAt("end session");
  Build();
  middleware_.RunDue();
  EXPECT_THAT(journal_, testing::Not(testing::Contains("ready")));
  journal_.clear();
  agent_.Appear();
  ASSERT_TRUE(Await("ready"));
  EXPECT_THAT(journal_, testing::Not(testing::Contains("config load")));
  EXPECT_EQ(std::count(journal_.begin(), journal_.end(), "config apply initial"), 1);
}

TEST_F(StartTest, AnAgentLostDuringTheApplyIsNoticedOnceServing) {
  reactions_["config apply initial"] = [&] { agent_.Die(); };
  agent_.Appear();
  Build();
  ASSERT_TRUE(Await("agent down"));
  journal_.clear();
  agent_.Appear();
  ASSERT_TRUE(Await("agent up"));
  EXPECT_THAT(journal_, testing::Not(testing::Contains("config apply initial")));
}

class ThrowingHandler : public FrameworkTest, public testing::WithParamInterface<const char*> {};

TEST_P(ThrowingHandler, EndsTheLoopAndIsNotCalledAgain) {
  reactions_[GetParam()] = [] { throw std::runtime_error("thrown by a handler"); };
  agent_.Appear();
  Build();
  ASSERT_TRUE(Await("end of loop"));
  EXPECT_EQ(journal_.end()[-2], GetParam());
  EXPECT_EQ(journal_.back(), "end of loop");
  EXPECT_THAT(middleware_.end_reason, HasSubstr("thrown by a handler"));
  EXPECT_EQ(LogRecords().back().level, 12);
  EXPECT_EQ(agent_.OpenConnections(), 0U);
}

INSTANTIATE_TEST_SUITE_P(EveryCallOfTheStart, ThrowingHandler,
                         testing::Values("status connected 2", "config load",
                                         "config apply initial"));

TEST_F(StartTest, AHandlerMayThrowAnything) {
  reactions_["config load"] = [] { throw 5; };
  agent_.Appear();
  Build();
  EXPECT_TRUE(Await("end of loop"));
}

}  // namespace
}  // namespace test
