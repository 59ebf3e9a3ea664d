// What becomes of work that is begun when the agent is asked to end.
#include <confd_lib.h>

#include <confd_cdb.h>

#include "await_status.h"
#include "provider_fixture.h"

namespace agentd::test {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

const std::string kLevel = std::string(kEast) + "/level";
const std::string kLevel0 = std::string(kLocal0) + "/level";
const std::string kSent0 = std::string(kLocal0) + "/mep-ccms-sent";
constexpr const char* kForced = "ends without waiting any longer";
constexpr unsigned kLocked = CDB_LOCK_SESSION | CDB_LOCK_WAIT;

pb::Request ClearAll() {
  pb::Request request;
  request.mutable_invoke()->set_operation("clear-statistics");
  return request;
}

class EndingTest : public ::testing::Test {
 protected:
  // Far more time than any test takes, so that what ends has ended by itself.
  // Peers that are silent here are no programs that stand still.
  explicit EndingTest(const std::string& limit = "60")
      : agent_({"--end-timeout", limit, "--heartbeat-interval", "60"}) {}
  void SetUp() override {
    ASSERT_EQ(Front().Edit({Document(EastDocument())}).txid(), 1U);
    OperationalWriter(agent_).Put("local", 0, LocalMep("east", "blue", 5));
  }

  Client Front(const std::string& name = "front") {
    return Client(agent_, pb::ROLE_FRONT_END, name);
  }
  Client Data(const std::string& name) { return Client(agent_, pb::ROLE_CDB_DATA, name); }
  Client Subscriber(std::int32_t priority, const std::string& name) {
    Client client(agent_, pb::ROLE_CDB_SUBSCRIPTION, name);
    client.Subscribe(priority, {"config", "oam", "cfm", "md"});
    client.SubscribeDone();
    return client;
  }
  // It ended by itself, and in order.
  void ExpectEnd() {
    EXPECT_EQ(agent_.AwaitExit(), 0) << agent_.Log();
    EXPECT_THAT(agent_.Log(), Not(HasSubstr(kForced)));
  }
  static std::string OnlyError(const pb::Reply& reply) {
    EXPECT_EQ(reply.errors_size(), 1);
    return reply.errors_size() > 0 ? reply.errors(0).message() : "";
  }
  static std::string OnlyWarning(const pb::Reply& reply) {
    EXPECT_EQ(reply.warnings_size(), 1);
    return reply.warnings_size() > 0 ? reply.warnings(0) : "";
  }

  RunningAgent agent_;
};

class HastyEndingTest : public EndingTest {
 protected:
  HastyEndingTest() : EndingTest("0.2") {}
  void ExpectForcedEnd() {
    EXPECT_EQ(agent_.AwaitExit(), 0) << agent_.Log();
    EXPECT_THAT(agent_.Log(), HasSubstr(kForced));
  }
};

TEST_F(EndingTest, ComesAtOnceWhenNothingIsInWork) {
  Client front = Front();
  Client subscriber = Subscriber(0, "listener");
  agent_.AskToEnd();
  ExpectEnd();
  EXPECT_TRUE(front.IsClosed());
  EXPECT_TRUE(subscriber.IsClosed());
  EXPECT_FALSE(std::filesystem::exists(agent_.Socket()));
}

TEST_F(EndingTest, AReadIsAnsweredWhole) {
  ScriptedProvider provider(agent_);
  Client front = Front();
  front.SendGet(kLocal0);
  provider.Begin();
  const pb::ProviderRequest asked = provider.Next();
  agent_.AskToEnd();
  provider.Send(PlainReply(asked));
  provider.ServeUntil(front);
  const pb::Reply reply = front.Receive();
  EXPECT_EQ(reply.errors_size(), 0);
  EXPECT_THAT(reply.warnings(), IsEmpty());
  ExpectEnd();
}

TEST_F(EndingTest, AProviderIsNotCutOffWhenTheReaderIsGone) {
  ScriptedProvider provider(agent_);
  Client front = Front("reader");
  front.SendGet(kLevel0);
  provider.Begin();
  const pb::ProviderRequest asked = provider.Next();
  front.Hang();
  agent_.AskToEnd();
  Client session = Data("program");  // as the provider does for its answer
  session.StartSession(CDB_RUNNING, 0);
  EXPECT_EQ(session.Level("east").errors_size(), 0);
  session.EndSession();
  provider.Send(PlainReply(asked));
  ExpectEnd();
}

TEST_F(EndingTest, AnOperationIsAnswered) {
  ScriptedProvider provider(agent_);
  Client front = Front();
  front.Send(ClearAll());
  const pb::ProviderRequest asked = provider.Next();
  agent_.AskToEnd();
  provider.Send(ResultReply(asked, pb::ProviderReply::OK));
  EXPECT_EQ(front.Receive().errors_size(), 0);
  ExpectEnd();
}

TEST_F(EndingTest, ASessionOnOperationalDataIsNotCutOff) {
  {
    OperationalWriter writer(agent_);
    ASSERT_EQ(writer.Create(EntryPath("remote", 1)), CONFD_OK);
    agent_.AskToEnd();
    EXPECT_EQ(writer.Delete(EntryPath("remote", 1)).errors_size(), 0);
    OperationalWriter other(agent_);  // begun while the first one is at work
    EXPECT_EQ(other.Delete(EntryPath("local", 0)).errors_size(), 0);
  }
  ExpectEnd();
}

TEST_F(EndingTest, ASessionThatReadsTheConfigurationIsNotCutOff) {
  Client loading = Data("loading");
  loading.StartSession(CDB_RUNNING, kLocked);
  loading.Receive();
  agent_.AskToEnd();
  EXPECT_EQ(loading.Level("east").errors_size(), 0);
  loading.EndSession();
  ExpectEnd();
}

TEST_F(EndingTest, WhatIsAskedNowIsRefused) {
  OperationalWriter writer(agent_);  // keeps the agent
  Client front = Front();
  front.Status();
  agent_.AskToEnd();
  EXPECT_THAT(OnlyError(front.Edit({SetLeaf(kLevel, "4")})), HasSubstr("agentd is ending"));
  EXPECT_THAT(OnlyError(front.Get(kLocal0)), HasSubstr("agentd is ending"));
  Client late = Front("late");
  EXPECT_THAT(late.Welcome().error(), HasSubstr("agentd is ending"));
  EXPECT_TRUE(late.IsClosed());
}

TEST_F(EndingTest, TheCommitInWorkIsAnsweredAndThoseThatWaitAreRefused) {
  Client subscriber = Subscriber(0, "listener");
  Client first = Front("first");
  first.SendEdit({SetLeaf(kLevel, "4")});
  subscriber.ReceiveNotification();
  Client second = Front("second");
  second.SendEdit({SetLeaf(kLevel, "5")});
  Front("witness").Status();  // and so the second is heard
  agent_.AskToEnd();
  EXPECT_THAT(OnlyError(second.Receive()),
              AllOf(HasSubstr("agentd is ending"), HasSubstr("nothing was changed")));
  subscriber.Sync();
  const pb::Reply reply = first.Receive();
  EXPECT_EQ(reply.txid(), 2U);
  EXPECT_THAT(reply.warnings(), IsEmpty());
  ExpectEnd();
  agent_.Start();
  Client after = Front();
  EXPECT_EQ(after.Status().txid(), 2U);
  EXPECT_THAT(after.Show(), HasSubstr("<level>4</level>"));
}

TEST_F(EndingTest, AnAnnouncedCommitIsFinishedThoughItsFrontEndIsGone) {
  Client subscriber = Subscriber(0, "listener");
  Client data = Data("listener");
  Client front = Front("leaving");
  front.SendEdit({SetLeaf(kLevel, "4")});
  subscriber.ReceiveNotification();
  front.Hang();
  Front("witness").Status();  // and so the end of the other is heard
  agent_.AskToEnd();
  EXPECT_EQ(data.Txid(), 2U);  // as programs do before they acknowledge
  EXPECT_THAT(agent_.Log(), HasSubstr("first finishes the work of the commit from leaving"));
  subscriber.Sync();
  ExpectEnd();
}

TEST_F(EndingTest, AnAnnouncedCommitIsFinishedThoughItsFrontEndGoesMeanwhile) {
  Client subscriber = Subscriber(0, "listener");
  Client data = Data("listener");
  Client front = Front("leaving");
  front.SendEdit({SetLeaf(kLevel, "4")});
  subscriber.ReceiveNotification();
  agent_.AskToEnd();
  front.Hang();
  EXPECT_TRUE(Front("late").IsClosed());  // and so the end of the other is heard
  EXPECT_EQ(data.Txid(), 2U);
  EXPECT_EQ(data.Txid(), 2U);  // it has had time to look for rest
  subscriber.Sync();
  ExpectEnd();
}

TEST_F(EndingTest, ASecondRequestEndsItAtOnce) {
  OperationalWriter writer(agent_);  // would keep the agent
  agent_.AskToEnd();
  EXPECT_EQ(agent_.Stop(), 0);
}

// Time enough for a provider that answers after half of it.
class SlowEndingTest : public EndingTest {
 protected:
  SlowEndingTest() : EndingTest("4") {}
};

TEST_F(SlowEndingTest, AReadThatTakesTooLongIsAnsweredWithWhatThereIs) {
  ScriptedProvider provider(agent_);
  Client parked = Front("parked");
  parked.SendGet(kSent0);
  provider.Begin();
  provider.Send(ResultReply(provider.Next(), pb::ProviderReply::DELAYED));
  Client front = Front();
  front.SendGet(kLocal0);
  provider.Begin();
  const pb::ProviderRequest slow = provider.Next();
  agent_.AskToEnd();
  EXPECT_EQ(OnlyWarning(parked.Receive()), "agentd is ending: left out mep-ccms-sent of 1 entry");
  std::vector<pb::ProviderReply> replies{PlainReply(slow)};
  for (const std::uint64_t id : provider.Left()) {
    replies.emplace_back().set_id(id);
    replies.back().set_result(pb::ProviderReply::UNASKED);
  }
  provider.SendTogether(replies);
  const pb::Reply reply = front.Receive();
  EXPECT_THAT(OnlyWarning(reply),
              AllOf(HasSubstr("agentd is ending: left out ccm-interval"), Not(HasSubstr("level"))));
  EXPECT_TRUE(provider.Worker().IsClosed());  // it was asked nothing more
  ExpectEnd();
}

TEST_F(HastyEndingTest, ADelayedReplyIsNotAwaitedForEver) {
  ScriptedProvider provider(agent_);
  Client front = Front();
  front.SendGet(kSent0);
  provider.Begin();
  provider.Send(ResultReply(provider.Next(), pb::ProviderReply::DELAYED));
  agent_.AskToEnd();
  EXPECT_EQ(OnlyWarning(front.Receive()), "agentd is ending: left out mep-ccms-sent of 1 entry");
  ExpectEnd();
}

TEST_F(HastyEndingTest, AProviderThatDoesNotAnswerLeavesNoReaderWithoutAWord) {
  ScriptedProvider provider(agent_);
  Client front = Front();
  front.SendGet(kLevel0);
  provider.Begin();
  provider.Next();
  Client waiting = Front("waiting");
  waiting.SendGet(kLevel0);
  provider.Begin();
  agent_.AskToEnd();
  EXPECT_THAT(OnlyError(front.Receive()), HasSubstr("agentd is ending"));
  EXPECT_THAT(OnlyError(waiting.Receive()), HasSubstr("agentd is ending"));
  ExpectForcedEnd();
  EXPECT_THAT(agent_.Log(), testing::ContainsRegex("work of .*front \\(process"));
  EXPECT_THAT(agent_.Log(), HasSubstr("data provider cfm-app"));
}

TEST_F(HastyEndingTest, WhoHasNotFinishedIsNamedInTheOrderOfComing) {
  // Connections that come later take the memory of those that have gone.
  std::vector<Client> gone;
  for (int i = 0; i < 4; ++i) {
    gone.push_back(Data("gone"));
  }
  std::vector<Client> sessions;
  sessions.push_back(Data("one"));
  gone.clear();
  Front("witness").Status();
  for (const char* name : {"two", "three", "four"}) {
    sessions.push_back(Data(name));
  }
  for (Client& each : sessions) {
    each.StartSession(CDB_OPERATIONAL, 0);
  }
  Front("witness").Status();  // and so all are open
  agent_.AskToEnd();
  ExpectForcedEnd();
  EXPECT_THAT(agent_.Log(),
              testing::ContainsRegex("waiting any longer for the work of one [^,]*, two [^,]*, "
                                     "three [^,]*, four"));
}

TEST_F(HastyEndingTest, ACommitTellsWhoHasNotDealtWithIt) {
  Client deaf = Subscriber(0, "deaf");
  Client behind = Subscriber(1, "behind");
  Client front = Front();
  front.SendEdit({SetLeaf(kLevel, "4")});
  deaf.ReceiveNotification();
  agent_.AskToEnd();
  const pb::Reply reply = front.Receive();
  EXPECT_EQ(reply.errors_size(), 0);
  EXPECT_EQ(reply.txid(), 2U);
  ASSERT_EQ(reply.warnings_size(), 2);
  EXPECT_THAT(reply.warnings(0),
              AllOf(HasSubstr("deaf"), HasSubstr("ending"), HasSubstr("is committed")));
  EXPECT_THAT(reply.warnings(1), HasSubstr("behind"));
  ExpectForcedEnd();
}

TEST_F(HastyEndingTest, ACommitThatWaitsForALockIsRefused) {
  Client locker = Data("locker");
  locker.StartSession(CDB_RUNNING, kLocked);
  locker.Receive();
  Client front = Front();
  front.SendEdit({SetLeaf(kLevel, "4")});
  AwaitCommitInProgress(Front("witness"));
  agent_.AskToEnd();
  EXPECT_THAT(OnlyError(front.Receive()),
              AllOf(HasSubstr("agentd is ending"), HasSubstr("nothing was changed")));
  ExpectForcedEnd();
  agent_.Start();
  EXPECT_EQ(Front().Status().txid(), 1U);
}

}  // namespace
}  // namespace agentd::test
