// Commits, from the notification to the acknowledgement.
#include <algorithm>
#include <stdexcept>

#include "diff_trees.h"
#include "framework_test.h"

using testing::Contains;
using testing::ElementsAre;
using testing::Not;

namespace test {
namespace {

using CommitTest = FrameworkTest;

Node LevelChange() {
  return Cfm({Entry("md", "east", MOP_MODIFIED, {Leaf("level", 3)})});
}

TEST_F(CommitTest, IsReadWhollyThenDeliveredAppliedAndAcknowledged) {
  Start();
  agent_.Commit(LevelChange());
  ASSERT_TRUE(Await("sync"));
  EXPECT_THAT(journal_,
              ElementsAre("txid", "config start", "~ /config/oam/cfm/md{east}",
                          "= /config/oam/cfm/md{east}/level to 3", "config apply", "sync"));
}

TEST_F(CommitTest, CarriesOldAndNewValues) {
  Start();
  agent_.Commit(
      Cfm({{"md", {"east"}, MOP_MODIFIED, {}, {}, {{"level", {}, MOP_VALUE_SET, 1, 2, {}}}}}));
  ASSERT_TRUE(Await("sync"));
  EXPECT_THAT(journal_, Contains("= /config/oam/cfm/md{east}/level from 1 to 2"));
}

TEST_F(CommitTest, OneFollowsTheOther) {
  Start();
  agent_.Commit(LevelChange());
  ASSERT_TRUE(Await("sync", 1));
  agent_.Commit(Cfm({Entry("md", "east", MOP_DELETED)}));
  ASSERT_TRUE(Await("sync", 2));
  EXPECT_THAT(journal_, Contains("- /config/oam/cfm/md{east}"));
  EXPECT_EQ(agent_.Acknowledged(), 2);
}

// The agent would tell its operator that all went well.
TEST_F(CommitTest, AnApplyThatFailsIsLoggedAndNotAcknowledgedAndTheProgramStartsAnew) {
  Start();
  config_.apply_result = 4;
  agent_.Commit(LevelChange());
  ASSERT_TRUE(Await("agent down"));
  EXPECT_EQ(agent_.Acknowledged(), 0);
  const auto records = LogRecords();
  const auto logged = std::find_if(records.begin(), records.end(), [](const auto& record) {
    return record.text == "ApplyCommitConfig returned 4";
  });
  ASSERT_NE(logged, records.end());
  EXPECT_EQ(logged->level, 11);
  EXPECT_TRUE(Await("end of loop"));
}

TEST_F(CommitTest, TheSameAgentComingBackAfterItIsServedOn) {
  Start();
  agent_.Commit(LevelChange());
  ASSERT_TRUE(Await("sync"));
  agent_.Die();
  ASSERT_TRUE(Await("agent down"));
  agent_.Appear();
  EXPECT_TRUE(Await("agent up"));
}

// Until the transaction id is known nothing is delivered, and the next
// connection finds that the configuration has moved on.
class DeathBeforeDelivery : public FrameworkTest,
                            public testing::WithParamInterface<std::pair<const char*, int>> {};

TEST_P(DeathBeforeDelivery, DeliversNothingAndTheNextAgentEndsTheLoop) {
  Start();
  agent_.DieAt(GetParam().first, GetParam().second);
  agent_.Commit(LevelChange());
  ASSERT_TRUE(Await("agent down"));
  EXPECT_THAT(journal_, Not(Contains("config start")));
  agent_.Appear();
  ASSERT_TRUE(Await("end of loop"));
}

INSTANTIATE_TEST_SUITE_P(EveryStep, DeathBeforeDelivery,
                         testing::Values(std::pair("read notification", 1), std::pair("diff", 1),
                                         std::pair("diff", 2), std::pair("diff", 3),
                                         std::pair("txid", 1)));

TEST_F(CommitTest, AnAgentThatDiesWithTheAcknowledgementHasNoNews) {
  Start();
  agent_.DieAt("sync");
  agent_.Commit(LevelChange());
  ASSERT_TRUE(Await("agent down"));
  EXPECT_THAT(journal_, Contains("config apply"));
  agent_.Appear();
  EXPECT_TRUE(Await("agent up"));
}

TEST_F(CommitTest, AnAgentThatDiesDuringTheDeliveryHasNoNews) {
  Start();
  reactions_["config start"] = [&] { agent_.Die(); };
  agent_.Commit(LevelChange());
  ASSERT_TRUE(Await("agent down"));
  EXPECT_THAT(journal_, Contains("config apply"));
  agent_.Appear();
  EXPECT_TRUE(Await("agent up"));
}

TEST_F(CommitTest, ANotificationThatDiedOnTheWayEndsTheLoop) {
  Start();
  agent_.Commit(LevelChange());
  agent_.Die();
  ASSERT_TRUE(Await("agent down"));
  EXPECT_THAT(journal_, Not(Contains("config start")));
  agent_.Appear();
  EXPECT_TRUE(Await("end of loop"));
}

class ThrowingInACommit : public FrameworkTest, public testing::WithParamInterface<const char*> {};

TEST_P(ThrowingInACommit, EndsTheLoopUnacknowledged) {
  Start();
  reactions_[GetParam()] = [] { throw std::runtime_error("thrown by a handler"); };
  agent_.Commit(LevelChange());
  ASSERT_TRUE(Await("end of loop"));
  EXPECT_EQ(journal_.end()[-2], GetParam());
  EXPECT_EQ(agent_.Acknowledged(), 0);
  EXPECT_EQ(agent_.OpenConnections(), 0U);
}

INSTANTIATE_TEST_SUITE_P(EveryCall, ThrowingInACommit,
                         testing::Values("config start", "~ /config/oam/cfm/md{east}",
                                         "config apply"));

// Two handlers -----------------------------------------------------------------

class TwoHandlers : public FrameworkTest {
 protected:
  void StartBoth() {
    other_.AddPoint("/config/oam/cfm/", 5);
    agent_.Appear();
    app_ = std::make_unique<velconfd::AppInterface>(
        &middleware_, TestCategory(), "both",
        std::vector<velconfd::ConfigHandler*>{&config_, &other_},
        std::vector<velconfd::ActionHandler*>{}, std::vector<velconfd::DataHandler*>{},
        ELEM_CONFD_PHASE_1, 0);
    ASSERT_TRUE(Await("ready"));
    journal_.clear();
  }

  NotingConfig other_{"other", notes_};
};

TEST_F(TwoHandlers, BothAreLoadedBeforeOneIsApplied) {
  other_.AddPoint("/config/oam/cfm/", 5);
  agent_.Appear();
  app_ = std::make_unique<velconfd::AppInterface>(
      &middleware_, TestCategory(), "both",
      std::vector<velconfd::ConfigHandler*>{&config_, &other_},
      std::vector<velconfd::ActionHandler*>{}, std::vector<velconfd::DataHandler*>{},
      ELEM_CONFD_PHASE_1, 0);
  ASSERT_TRUE(Await("ready"));
  EXPECT_THAT(Journal(journal_.begin() + 7, journal_.end()),
              ElementsAre("config connected 1", "other connected 1", "config load", "other load",
                          "txid", "end session", "config apply initial", "other apply initial",
                          "agent up", "ready"));
}

TEST_F(TwoHandlers, EachGetsTheCommitForItself) {
  StartBoth();
  agent_.Commit(LevelChange());
  ASSERT_TRUE(Await("sync"));
  EXPECT_THAT(
      journal_,
      ElementsAre("txid", "config start", "other start", "~ /config/oam/cfm/md{east}",
                  "= /config/oam/cfm/md{east}/level to 3", "~ /config/oam/cfm/md{east}",
                  "= /config/oam/cfm/md{east}/level to 3", "config apply", "other apply", "sync"));
}

TEST_F(TwoHandlers, OnlyTheNotifiedOneIsConcerned) {
  StartBoth();
  agent_.Commit(LevelChange(), {4});
  ASSERT_TRUE(Await("sync"));
  EXPECT_THAT(journal_, Contains("other start"));
  EXPECT_THAT(journal_, Not(Contains("config start")));
}

// The agent is lost between the notifications of two priorities: the second
// handler has missed the commit.
TEST_F(TwoHandlers, AnAgentLostBeforeTheLastPriorityHasNews) {
  StartBoth();
  agent_.Commit(LevelChange(), {1, 2, 3});
  ASSERT_TRUE(Await("sync"));
  agent_.Die();
  ASSERT_TRUE(Await("agent down"));
  agent_.Appear();
  EXPECT_TRUE(Await("end of loop"));
}

TEST_F(TwoHandlers, AnAgentLostAfterTheLastPriorityHasNone) {
  StartBoth();
  agent_.Commit(LevelChange(), {4});
  ASSERT_TRUE(Await("sync"));
  agent_.Die();
  ASSERT_TRUE(Await("agent down"));
  agent_.Appear();
  EXPECT_TRUE(Await("agent up"));
}

}  // namespace
}  // namespace test
