// The agent goes while it is served, and while replies are delayed.
#include "framework_test.h"

using testing::Contains;
using testing::HasSubstr;
using testing::Not;

namespace test {
namespace {

class ProviderLossTest : public FrameworkTest {
 protected:
  // A read to which the handler's callback returns this.
  void Read(int result) {
    level_.result = result;
    bool asked = false;
    agent_.Ask(WORKER_SOCKET, [&](FakeDaemon& daemon) {
      asked = true;
      transaction_.dx = &daemon;
      transaction_.cb_opaque = daemon.callpoints.at("level").cb_opaque;
      EXPECT_EQ(daemon.callpoints.at("level").get_elem(&transaction_, &keypath_), result);
      return CONFD_OK;
    });
    ASSERT_TRUE(middleware_.RunUntil([&] { return asked; }));
  }

  void LoseAndComeBack(long time = 1) {
    agent_.Die();
    ASSERT_TRUE(Await("agent down", time));
    agent_.Appear();
    ASSERT_TRUE(Await("agent up", time));
  }

  confd_trans_ctx transaction_{-1, 9, nullptr, nullptr, nullptr};
  confd_hkeypath_t keypath_{};
};

TEST_F(ProviderLossTest, AHangUpOnTheControlSocketAloneIsALoss) {
  Start();
  agent_.HangUp(CONTROL_SOCKET);
  ASSERT_TRUE(Await("agent down"));
  EXPECT_THAT(journal_, Contains("status disconnected"));
  EXPECT_EQ(agent_.OpenProviderSockets(), 0U);
  EXPECT_TRUE(Await("agent up"));
  EXPECT_EQ(agent_.OpenProviderSockets(), 2U);
}

TEST_F(ProviderLossTest, AHangUpOnTheWorkerSocketAloneIsALoss) {
  Start();
  agent_.HangUp(WORKER_SOCKET);
  ASSERT_TRUE(Await("agent down"));
  EXPECT_TRUE(Await("agent up"));
}

TEST_F(ProviderLossTest, AnAgentThatAsksNonsenseIsLeft) {
  Start();
  agent_.Ask(WORKER_SOCKET, [](FakeDaemon&) {
    confd_errno = CONFD_ERR_PROTOUSAGE;
    return CONFD_ERR;
  });
  ASSERT_TRUE(Await("agent down"));
  EXPECT_TRUE(Await("agent up"));
}

TEST_F(ProviderLossTest, ARefusedRegistrationIsALossAndTriedAgain) {
  agent_.Refuse("register done");
  agent_.Appear();
  Build();
  ASSERT_TRUE(Await("status disconnected"));
  EXPECT_THAT(LogRecords().back().text, HasSubstr("confd_register_done: as scripted"));
  EXPECT_THAT(journal_, Not(Contains("agent up")));
  EXPECT_EQ(agent_.OpenDaemons(), 0U);
  ASSERT_TRUE(Await("ready"));
  EXPECT_EQ(std::count(journal_.begin(), journal_.end(), "config load"), 1);
}

TEST_F(ProviderLossTest, ADeathAtEachStepOfTheRegistrationIsALoss) {
  for (const char* step : {"connect control", "connect worker", "register transactions",
                           "register callpoint", "register action", "register done"}) {
    SCOPED_TRACE(step);
    agent_.DieAt(step);
    agent_.Appear();
    Build();
    ASSERT_TRUE(Await("status disconnected"));
    EXPECT_EQ(agent_.OpenDaemons(), 0U);
    EXPECT_EQ(agent_.OpenProviderSockets(), 0U);
    agent_.Appear();
    ASSERT_TRUE(Await("ready"));
    app_.reset();
    agent_.Die();
    journal_.clear();
  }
}

TEST_F(ProviderLossTest, AContextWithoutDelayedRepliesGoesWithItsConnection) {
  Start();
  Read(CONFD_OK);
  LoseAndComeBack();
  EXPECT_EQ(agent_.OpenDaemons(), 1U);
}

TEST_F(ProviderLossTest, AContextWithADelayedReplyStaysUntilTheDestructor) {
  Start();
  Read(CONFD_DELAYED_RESPONSE);
  LoseAndComeBack();
  EXPECT_EQ(agent_.OpenDaemons(), 2U);
  Read(CONFD_OK);
  LoseAndComeBack(2);
  EXPECT_EQ(agent_.OpenDaemons(), 2U);  // the second had delayed nothing
  EXPECT_EQ(agent_.OpenProviderSockets(), 2U);
  app_.reset();
  EXPECT_EQ(agent_.OpenDaemons(), 0U);
}

}  // namespace
}  // namespace test
