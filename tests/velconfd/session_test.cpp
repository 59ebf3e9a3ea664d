// The handlers' CDB sessions.
#include <optional>

#include "framework_test.h"

using testing::ElementsAre;

namespace test {
namespace {

using SessionTest = FrameworkTest;

TEST_F(SessionTest, WithoutAConnectionThereIsNoSocket) {
  EXPECT_EQ(VelConfdCdbSession(nullptr).Socket(), -1);
  agent_.Appear();
  Build();
  EXPECT_EQ(VelConfdStatusSession(status_.Connection()).Socket(), -1);
}

TEST_F(SessionTest, OpensTheDatastoreAndEndsWithTheObject) {
  Start();
  {
    const VelConfdStatusSession session(status_.Connection());
    EXPECT_GE(session.Socket(), 0);
    EXPECT_EQ(agent_.SessionsOpen(), 1);
  }
  { const VelConfdCdbSession session(status_.Connection()); }
  EXPECT_EQ(agent_.SessionsOpen(), 0);
  EXPECT_THAT(journal_, ElementsAre("session 3", "end session", "session 1", "end session"));
}

TEST_F(SessionTest, OneSocketServesSessionsThatFollowEachOther) {
  Start();
  { const VelConfdStatusSession session(status_.Connection()); }
  const auto connections = agent_.OpenConnections();
  { const VelConfdCdbSession session(status_.Connection()); }
  EXPECT_EQ(agent_.OpenConnections(), connections);
}

TEST_F(SessionTest, ASessionInsideAnotherHasItsOwnSocket) {
  Start();
  const VelConfdStatusSession outer(status_.Connection());
  const VelConfdCdbSession inner(status_.Connection());
  EXPECT_GE(inner.Socket(), 0);
  EXPECT_NE(inner.Socket(), outer.Socket());
}

TEST_F(SessionTest, AreThereWhenTheHandlersAreToldOfTheConnection) {
  std::optional<int> socket;
  reactions_["status connected 2"] = [&] {
    socket = VelConfdStatusSession(status_.Connection()).Socket();
  };
  Start();
  ASSERT_TRUE(socket);
  EXPECT_GE(*socket, 0);
}

TEST_F(SessionTest, AreGoneWhenTheHandlersAreToldOfTheLoss) {
  std::optional<int> socket;
  reactions_["status disconnected"] = [&] {
    socket = VelConfdStatusSession(status_.Connection()).Socket();
  };
  Start();
  agent_.HangUp(CDB_SUBSCRIPTION_SOCKET);  // the agent would still open one
  ASSERT_TRUE(Await("agent down"));
  EXPECT_EQ(socket, -1);
}

TEST_F(SessionTest, ASocketThatTheAgentClosedWhileIdleIsReplaced) {
  Start();
  { const VelConfdStatusSession session(status_.Connection()); }
  agent_.Refuse("session");
  EXPECT_GE(VelConfdStatusSession(status_.Connection()).Socket(), 0);
}

TEST_F(SessionTest, ARefusedSessionHasNoSocketAndTheNextMay) {
  Start();
  agent_.Refuse("session");
  EXPECT_EQ(VelConfdStatusSession(status_.Connection()).Socket(), -1);
  EXPECT_GE(VelConfdStatusSession(status_.Connection()).Socket(), 0);
}

TEST_F(SessionTest, ADeadAgentLeavesNoSocketEvenBeforeTheLossIsNoticed) {
  Start();
  { const VelConfdStatusSession session(status_.Connection()); }
  agent_.Die();
  EXPECT_EQ(VelConfdStatusSession(status_.Connection()).Socket(), -1);
}

TEST_F(SessionTest, AConnectionThatIsLostInASessionCountsAsTheLossOfTheAgent) {
  Start();
  {
    const VelConfdStatusSession session(status_.Connection());
    agent_.Refuse("end session");
  }
  ASSERT_TRUE(Await("agent down"));
  EXPECT_TRUE(Await("agent up"));
}

// What is asked may be about entries that the session has taken away; that the
// agent withdrew the questions was in a reply that is lost.
TEST_F(SessionTest, NothingIsAnsweredBetweenTheLossOfASessionAndThatOfTheAgent) {
  for (const confd_sock_type type : {WORKER_SOCKET, CONTROL_SOCKET}) {
    Start();
    bool asked = false;
    agent_.Ask(type, [&asked](FakeDaemon&) {
      asked = true;
      return CONFD_OK;
    });
    {
      const VelConfdStatusSession session(status_.Connection());
      agent_.Refuse("end session");
    }
    ASSERT_TRUE(Await("agent down"));
    EXPECT_FALSE(asked);
    ASSERT_TRUE(Await("agent up"));
    app_.reset();
    agent_.Die();
  }
}

TEST_F(SessionTest, NothingIsAnsweredWhenASessionWasLostWhileTheAgentCame) {
  reactions_["status connected 2"] = [&] {
    reactions_.clear();
    const VelConfdStatusSession session(status_.Connection());
    agent_.Refuse("end session");
  };
  agent_.Appear();
  Build();
  ASSERT_TRUE(Await("agent up"));
  bool asked = false;
  agent_.Ask(WORKER_SOCKET, [&asked](FakeDaemon&) {
    asked = true;
    return CONFD_OK;
  });
  ASSERT_TRUE(Await("agent down"));
  EXPECT_FALSE(asked);
}

// What was sent last in the session needed no answer, and may not have come.
TEST_F(SessionTest, AConnectionThatIsLostAfterItsSessionCountsAsTheLossOfTheAgent) {
  Start();
  { const VelConfdStatusSession session(status_.Connection()); }
  agent_.HangUpOnNewest();
  ASSERT_TRUE(Await("agent down"));
  EXPECT_TRUE(Await("agent up"));
}

TEST_F(SessionTest, AnIdleConnectionThatTurnsOutToBeLostCountsAsTheLossOfTheAgent) {
  Start();
  { const VelConfdStatusSession session(status_.Connection()); }
  agent_.Refuse("session");
  EXPECT_GE(VelConfdStatusSession(status_.Connection()).Socket(), 0);
  ASSERT_TRUE(Await("agent down"));
  EXPECT_TRUE(Await("agent up"));
}

TEST_F(SessionTest, ASessionThatCannotBeginCountsAsTheLossOfTheAgent) {
  Start();
  agent_.Refuse("session");
  EXPECT_EQ(VelConfdStatusSession(status_.Connection()).Socket(), -1);
  ASSERT_TRUE(Await("agent down"));
  EXPECT_TRUE(Await("agent up"));
}

TEST_F(SessionTest, ASocketOfTheLostAgentIsNotUsedAgain) {
  Start();
  {
    const VelConfdStatusSession session(status_.Connection());
    agent_.HangUp(CDB_SUBSCRIPTION_SOCKET);
    ASSERT_TRUE(Await("agent up"));
  }
  EXPECT_EQ(agent_.OpenConnections(), 2U);
}

}  // namespace
}  // namespace test
