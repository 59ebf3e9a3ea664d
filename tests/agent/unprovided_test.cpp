// Status whose provider is gone, or was never there, and who is there since
// when.
#include <ctime>

#include "await_status.h"
#include "provider_fixture.h"

namespace agentd::test {
namespace {

using ::testing::AllOf;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::StartsWith;

const std::string kWritten = std::string(kLocal0) + "/md";
constexpr const char* kLocals = "/status/oam/cfm/local";
constexpr std::chrono::milliseconds kMoreThanASecond{1100};

class UnprovidedTest : public ProviderTest {
 protected:
  using ProviderTest::ProviderTest;

  // Begins before what is looked for and ends with now.
  void ExpectRecent(std::int64_t since) const {
    EXPECT_GE(since, begin_);
    EXPECT_LE(since, std::time(nullptr));
  }
  Client Subscriber(const std::string& name) {
    Client client(agent_, pb::ROLE_CDB_SUBSCRIPTION, name);
    client.Subscribe(0, {"config", "oam", "cfm", "md"});
    client.SubscribeDone();
    return client;
  }
  static bool HasLostProvider(const pb::Status& status) {
    return status.providers_size() > 0 && status.providers(0).lost();
  }

  const std::time_t begin_ = std::time(nullptr);
};

TEST_F(UnprovidedTest, WithoutAnyProviderAReadSaysWhichCallpointsNobodyAnswers) {
  const std::string warning = OnlyWarning(Front().Get(kWritten));
  EXPECT_THAT(warning,
              StartsWith("no data provider has registered for the callpoints ccm-interval,"));
  EXPECT_THAT(warning, AllOf(HasSubstr("statistics"), EndsWith("shown as it was left: 1 entry")));
}

TEST_F(UnprovidedTest, AnEmptyListSaysSo) {
  writer_.Delete(EntryPath("local", 0));
  EXPECT_THAT(OnlyWarning(Front().Get(kLocals)), EndsWith(": nothing is shown"));
}

TEST_F(UnprovidedTest, OnlyCallpointsThatNobodyAnswersAreNamed) {
  ScriptedProvider provider(agent_, "part", false);
  provider.Register({"level", "statistics"});
  EXPECT_THAT(OnlyWarning(Front().Get(kWritten)),
              AllOf(HasSubstr("direction"), Not(HasSubstr("level")), Not(HasSubstr("statistics"))));
}

TEST_F(UnprovidedTest, WithAProviderNothingIsSaid) {
  ScriptedProvider provider(agent_);
  EXPECT_THAT(Front().Get(kWritten).warnings(), IsEmpty());
}

TEST_F(UnprovidedTest, RecordsOfALostProviderAreMarkedUntilAnotherIsThere) {
  { ScriptedProvider provider(agent_, "first"); }
  const pb::Status status = AwaitStatus(Front("watcher"), HasLostProvider);
  ExpectRecent(status.providers(0).since());
  const std::string warning = OnlyWarning(Front().Get(kWritten));
  EXPECT_THAT(warning, StartsWith("data provider first (process "));
  EXPECT_THAT(warning, AllOf(HasSubstr("is gone since 2"),
                             HasSubstr("nobody answers for its callpoints ccm-interval, direction"),
                             EndsWith("shown as it was left: 1 entry")));
  EXPECT_THAT(OnlyWarning(Front().Get(std::string(kLocal0) + "/level")),
              AllOf(HasSubstr("is gone since 2"), EndsWith("left out level of 1 entry")));
  ScriptedProvider second(agent_, "second");
  EXPECT_THAT(Front().Get(kWritten).warnings(), IsEmpty());
}

TEST_F(UnprovidedTest, TheStatusTellsSinceWhenWhoIsThere) {
  ScriptedProvider provider(agent_);
  Client subscriber = Subscriber("daemon");
  const pb::Status status = Front().Status();
  ASSERT_EQ(status.providers_size(), 1);
  ASSERT_EQ(status.subscribers_size(), 1);
  ExpectRecent(status.providers(0).since());
  ExpectRecent(status.subscribers(0).since());
  EXPECT_EQ(status.providers(0).silent_seconds(), 0U);
  EXPECT_EQ(status.subscribers(0).silent_seconds(), 0U);
  EXPECT_EQ(status.lost_subscribers_size(), 0);
}

TEST_F(UnprovidedTest, TheStatusTellsWhoIsGoneUntilOneOfThatNameIsBack) {
  { Client subscriber = Subscriber("daemon"); }
  const pb::Status gone = AwaitStatus(Front("watcher"), [](const pb::Status& status) {
    return status.lost_subscribers_size() > 0;
  });
  EXPECT_EQ(gone.subscribers_size(), 0);
  EXPECT_EQ(gone.lost_subscribers(0).name(), "daemon");
  EXPECT_EQ(gone.lost_subscribers(0).points(0), "/config/oam/cfm/md");
  ExpectRecent(gone.lost_subscribers(0).since());
  Client other = Subscriber("another");
  EXPECT_EQ(Front().Status().lost_subscribers_size(), 1);
  Client back = Subscriber("daemon");
  EXPECT_EQ(Front().Status().lost_subscribers_size(), 0);
}

TEST_F(UnprovidedTest, NobodyIsGoneWhileOneOfThatNameIsThere) {
  Client first = Subscriber("daemon");
  Client second = Subscriber("daemon");
  first.Hang();
  const pb::Status one = AwaitStatus(
      Front("watcher"), [](const pb::Status& status) { return status.subscribers_size() == 1; });
  EXPECT_EQ(one.lost_subscribers_size(), 0);
  second.Hang();
  AwaitStatus(Front("watcher"),
              [](const pb::Status& status) { return status.lost_subscribers_size() == 1; });
}

// Where nobody is given up because this process does nothing.
class SilenceTest : public UnprovidedTest {
 protected:
  SilenceTest() : UnprovidedTest({"--end-timeout", "0", "--heartbeat-interval", "3600"}) {}
};

TEST_F(SilenceTest, TheStatusTellsHowLongSomebodyHasNotAnswered) {
  ScriptedProvider provider(agent_);
  Client subscriber = Subscriber("daemon");
  Client reader = Front("reader");
  reader.SendGet(std::string(kLocal0) + "/level");
  provider.Begin();
  provider.Next();
  EXPECT_EQ(Front().Status().providers(0).silent_seconds(), 0U);
  EXPECT_TRUE(reader.StaysSilent(kMoreThanASecond));
  EXPECT_GE(Front().Status().providers(0).silent_seconds(), 1U);
  Client front = Front();
  front.SendEdit({SetLeaf(std::string(kEast) + "/level", "4")});
  provider.HangWorker();  // so that the commit is announced
  subscriber.ReceiveNotification();
  EXPECT_TRUE(subscriber.StaysSilent(kMoreThanASecond));
  EXPECT_GE(Front().Status().subscribers(0).silent_seconds(), 1U);
  subscriber.Sync();
  EXPECT_EQ(front.Receive().txid(), 2U);
  EXPECT_EQ(Front().Status().subscribers(0).silent_seconds(), 0U);
}

}  // namespace
}  // namespace agentd::test
