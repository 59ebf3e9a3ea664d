// Programs that agentd waits for and that stand still, compute, or wait
// themselves. All clients of a test are one process with it, which is asleep
// while it waits for the agent; a StillPeer is another one.
#include <confd_lib.h>
#include <time.h>

#include <confd_cdb.h>

#include <algorithm>

#include "heartbeat.h"
#include "lock_table.h"
#include "loop.h"
#include "provider_fixture.h"
#include "still_peer.h"
#include "writer_hold.h"

namespace agentd::test {
namespace {

using ::testing::AllOf;
using ::testing::ContainsRegex;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::UnorderedElementsAre;
using namespace std::chrono_literals;

constexpr const char* kMdLevel = "/config/oam/cfm/md[id='east']/level";
const std::string kSent0 = std::string(kLocal0) + "/mep-ccms-sent";

class HeartbeatTest : public ProviderTest {
 protected:
  explicit HeartbeatTest(std::vector<std::string> options = {"--heartbeat-interval", "0.02",
                                                             "--end-timeout", "0"})
      : ProviderTest(std::move(options)) {}

  Client Subscriber(const std::string& name) {
    Client client(agent_, pb::ROLE_CDB_SUBSCRIPTION, name);
    client.Subscribe(0, {"config", "oam", "cfm", "md"});
    client.SubscribeDone();
    return client;
  }
  // A read whose reply the provider delays; returns the request.
  pb::ProviderRequest Park(ScriptedProvider& provider, Client& front) {
    front.SendGet(kSent0);
    provider.Begin();
    const pb::ProviderRequest request = provider.Next();
    provider.Send(ResultReply(request, pb::ProviderReply::DELAYED));
    return request;
  }
};

// The timeout would take 10 s.
TEST_F(HeartbeatTest, ASubscriberThatStandsStillIsGivenUpAndNamedAlone) {
  const StillPeer still(agent_, "still", {"subscriber=0"});
  Client living = Subscriber("living");
  Client front = Front();
  front.SendEdit({SetLeaf(kMdLevel, "4")});
  living.ReceiveNotification();
  living.Sync();
  const pb::Reply reply = front.Receive();
  EXPECT_EQ(reply.errors_size(), 0);
  EXPECT_EQ(reply.txid(), 2U);
  EXPECT_THAT(OnlyWarning(reply),
              AllOf(HasSubstr("subscriber still"), HasSubstr("the change is committed"),
                    ContainsRegex("gave no sign of life for [0-9]+ ms \\(3 heartbeats of 20 ms")));
  EXPECT_THAT(agent_.Log(), ContainsRegex("connection of still .*notified of commit 2, it gave no "
                                          "sign of life for [0-9]+ ms"));
  EXPECT_THAT(agent_.Log(), Not(HasSubstr("connection of living")));
}

TEST_F(HeartbeatTest, ASubscriberThatSleepsFindsItsConnectionClosed) {
  Client asleep = Subscriber("asleep");
  Client front = Front();
  EXPECT_EQ(front.Edit({SetLeaf(kMdLevel, "4")}).warnings_size(), 1);
  EXPECT_EQ(asleep.ReceiveNotification().txid(), 2U);
  EXPECT_TRUE(asleep.IsClosed());
}

int CountOf(const std::string& part, const std::string& text) {
  int count = 0;
  for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
    ++count;
  }
  return count;
}

TEST_F(HeartbeatTest, AProgramThatIsGivenUpAsSubscriberIsNoProviderAnyMore) {
  const StillPeer still(agent_, "still", {"subscriber=0", "provider", "session"});
  Client front = Front();
  EXPECT_THAT(OnlyWarning(front.Edit({SetLeaf(kMdLevel, "4")})),
              AllOf(HasSubstr("subscriber still"), HasSubstr("gave no sign of life")));
  const pb::Status status = front.Status();
  ASSERT_EQ(status.providers_size(), 1);
  EXPECT_TRUE(status.providers(0).lost());
  EXPECT_THAT(OnlyWarning(front.Get(std::string(kLocal0) + "/level")), HasSubstr("is gone since"));
  ScriptedProvider successor(agent_, "successor");  // which is not refused
  EXPECT_EQ(CountOf("notified of commit", agent_.Log()), 1) << agent_.Log();
  // What it only asks on stays, for it may go on yet.
  EXPECT_EQ(std::count_if(status.connections().begin(), status.connections().end(),
                          [](const auto& each) { return each.name() == "still"; }),
            1);
}

TEST_F(HeartbeatTest, AProgramThatIsGivenUpAsProviderIsNoSubscriberAnyMore) {
  const StillPeer still(agent_, "still", {"provider", "subscriber=0"});
  Client front = Front();
  EXPECT_THAT(OnlyWarning(front.Get(std::string(kLocal0) + "/level")),
              AllOf(HasSubstr("data provider still"), HasSubstr("is gone since")));
  EXPECT_EQ(front.Status().subscribers_size(), 0);
  EXPECT_THAT(OnlyWarning(front.Edit({SetLeaf(kMdLevel, "4")})),
              AllOf(HasSubstr("subscriber " + still.Describe()), HasSubstr("is gone since")));
  EXPECT_THAT(agent_.Log(), Not(HasSubstr("notified of commit")));
}

TEST_F(HeartbeatTest, WhoIsGivenUpTakesNobodyElseWithIt) {
  ScriptedProvider provider(agent_, "living");
  Client living = Subscriber("living");
  const StillPeer still(agent_, "still", {"subscriber=1"});
  Client front = Front();
  front.SendEdit({SetLeaf(kMdLevel, "4")});
  living.ReceiveNotification();
  living.Sync();
  EXPECT_EQ(front.Receive().warnings_size(), 1);
  const pb::Status status = front.Status();
  ASSERT_EQ(status.subscribers_size(), 1);
  EXPECT_EQ(status.subscribers(0).name(), "living");
  ASSERT_EQ(status.providers_size(), 1);
  EXPECT_FALSE(status.providers(0).lost());
}

// The second would have been waited for as long again.
TEST_F(HeartbeatTest, TheConnectionsOfOneProgramAreGivenUpTogether) {
  const StillPeer still(agent_, "still", {"subscriber=0", "subscriber=1"});
  const pb::Reply reply = Front().Edit({SetLeaf(kMdLevel, "4")});
  ASSERT_EQ(reply.warnings_size(), 2);
  EXPECT_THAT(reply.warnings(0),
              AllOf(HasSubstr(still.Describe()), HasSubstr("gave no sign of life")));
  EXPECT_THAT(reply.warnings(1), AllOf(HasSubstr(still.Describe()), HasSubstr("was lost")));
  EXPECT_EQ(CountOf("notified of commit", agent_.Log()), 1) << agent_.Log();
}

std::chrono::nanoseconds ProcessorTime() {
  timespec time{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
  return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

TEST_F(HeartbeatTest, AFrozenHolderOfTheLockIsGivenUpAndTheCommitGoesOn) {
  const StillPeer still(agent_, "still", {"lock"});
  const pb::Reply reply = Front().Edit({SetLeaf(kMdLevel, "4")});
  EXPECT_EQ(reply.errors_size(), 0);
  EXPECT_EQ(reply.warnings_size(), 0);  // it was to be told of nothing
  EXPECT_EQ(reply.txid(), 2U);
  EXPECT_THAT(agent_.Log(),
              ContainsRegex("the lock of still \\(process [0-9]+\\) is taken away: it "
                            "gave no sign of life for [0-9]+ ms \\(3 heartbeats"));
  EXPECT_THAT(agent_.Log(),
              ContainsRegex("connection of still .* closed: it gave no sign of life"));
}

TEST_F(HeartbeatTest, AHolderOfTheLockThatGoesOnReadingKeepsIt) {
  Client reader(agent_, pb::ROLE_CDB_DATA, "reader");
  reader.StartSession(CDB_RUNNING, CDB_LOCK_SESSION | CDB_LOCK_WAIT);
  reader.Receive();
  Client front = Front();
  front.SendEdit({SetLeaf(kMdLevel, "4")});
  for (const auto end = std::chrono::steady_clock::now() + 300ms;
       std::chrono::steady_clock::now() < end;) {
    EXPECT_EQ(reader.Level("east").errors_size(), 0);
  }
  EXPECT_TRUE(front.IsSilent(agent_));
  reader.EndSession();
  EXPECT_EQ(front.Receive().txid(), 2U);
}

// While a commit waits nobody is asked, so the read would wait as long.
TEST_F(HeartbeatTest, AReadDoesNotWaitForAFrozenHolderOfTheLock) {
  ScriptedProvider provider(agent_);
  const StillPeer still(agent_, "still", {"lock"});
  Client front = Front();
  front.SendEdit({SetLeaf(kMdLevel, "4")});
  Client reader = Front("reader");
  reader.SendGet(std::string(kLocal0) + "/level");
  provider.ServeUntil(reader);
  EXPECT_EQ(reader.Receive().warnings_size(), 0);
  EXPECT_EQ(front.Receive().txid(), 2U);
}

TEST_F(HeartbeatTest, AFrozenHolderOfTheWritersIsGivenUp) {
  const StillPeer still(agent_, "still", {"writers"});
  EXPECT_EQ(writer_.Create(EntryPath("local", 7)), CONFD_OK);
  EXPECT_THAT(agent_.Log(),
              ContainsRegex("writers wait no longer for still \\(process [0-9]+\\): it "
                            "gave no sign of life for [0-9]+ ms"));
}

// The read holds the commit up, under the provider that is watched for the read.
TEST_F(HeartbeatTest, AProviderStaysWatchedWhenACommitHasGivenUpWaitingForItsAnswer) {
  ScriptedProvider provider(agent_);
  Client reader = Front("reader");
  reader.SendGet(std::string(kLocal0) + "/level");
  provider.Begin();
  provider.Next();
  Client front = Front();
  front.SendEdit({SetLeaf(kMdLevel, "4")});
  Front("witness").Status();  // and so it waits
  front.Hang();
  EXPECT_THAT(OnlyWarning(reader.Receive()), HasSubstr("gave no sign of life"));
  EXPECT_THAT(agent_.Log(), HasSubstr("is dropped: who asked is gone"));
}

TEST_F(HeartbeatTest, ASubscriberThatComputesForManyIntervalsIsNotGivenUp) {
  Client busy = Subscriber("busy");
  Client front = Front();
  front.SendEdit({SetLeaf(kMdLevel, "4")});
  busy.ReceiveNotification();
  for (const auto end = ProcessorTime() + 300ms; ProcessorTime() < end;) {
  }
  busy.Sync();
  const pb::Reply reply = front.Receive();
  EXPECT_EQ(reply.txid(), 2U);
  EXPECT_EQ(reply.warnings_size(), 0);
}

TEST_F(HeartbeatTest, AProviderThatWaitsForOthersStaysAsLongAsItAnswersPings) {
  ScriptedProvider provider(agent_);
  Client front = Front();
  const pb::ProviderRequest parked = Park(provider, front);
  for (int i = 0; i < 10; ++i) {
    const pb::ProviderRequest ping = provider.Control().ReceiveProviderRequest();
    ASSERT_TRUE(ping.has_ping());
    provider.AnswerOnControl(ping);
  }
  provider.Send(ValueReply(parked, NumberOf(C_UINT64, 9)));
  provider.ServeUntil(front);
  const pb::Reply reply = front.Receive();
  EXPECT_EQ(reply.warnings_size(), 0);
  EXPECT_EQ(reply.node().value(), "9");
}

TEST_F(HeartbeatTest, AProviderThatAnswersNoPingIsGivenUp) {
  ScriptedProvider provider(agent_);
  Client front = Front();
  Park(provider, front);
  EXPECT_THAT(OnlyWarning(front.Receive()),
              AllOf(HasSubstr("data provider cfm-app"), HasSubstr("gave no sign of life")));
  EXPECT_TRUE(provider.Worker().IsClosed());
}

TEST_F(HeartbeatTest, AProviderThatDoesNotTakeItsQuestionIsGivenUpAndTheCommitGoesOn) {
  ScriptedProvider provider(agent_);
  Client reader = Front("reader");
  reader.SendGet(std::string(kLocal0) + "/level");
  provider.Begin();
  provider.Next();
  EXPECT_EQ(Front().Edit({SetLeaf(kMdLevel, "4")}).txid(), 2U);
  EXPECT_THAT(OnlyWarning(reader.Receive()), HasSubstr("gave no sign of life"));
}

class ShortTimeoutTest : public HeartbeatTest {
 protected:
  ShortTimeoutTest()
      : HeartbeatTest({"--end-timeout", "0", "--heartbeat-interval", "0.02", "--subscriber-timeout",
                       "0.3"}) {}
};

// It opens a session that can only begin when its own commit is over: a
// deadlock of its own making, which is not standing still.
TEST_F(ShortTimeoutTest, ASubscriberThatWaitsForTheAgentIsLeftToTheTimeout) {
  Client waiting = Subscriber("waiting");
  Client front = Front();
  front.SendEdit({SetLeaf(kMdLevel, "4")});
  waiting.ReceiveNotification();
  Client data(agent_, pb::ROLE_CDB_DATA, "waiting");
  data.StartSession(CDB_RUNNING, CDB_LOCK_SESSION | CDB_LOCK_WAIT);
  EXPECT_THAT(OnlyWarning(front.Receive()),
              AllOf(HasSubstr("subscriber waiting"), HasSubstr("did not answer in time")));
}

// In a loop of the test's own, on a process that is always asleep.
class HeartbeatLoop : public ::testing::Test {
 protected:
  static constexpr pid_t kPid = 42;

  // What a give-up tells, in order.
  Heartbeat::GiveUp Note(const std::string& who) {
    return [this, who](const std::string&) { heard_.push_back(who); };
  }
  // Much longer than it takes to give a program up.
  void Run() {
    bool is_over = false;
    Timer timer(loop_.Get(), [&is_over] { is_over = true; });
    timer.Set(50ms);
    EXPECT_TRUE(loop_.RunUntil([&is_over] { return is_over; }));
  }

  Loop loop_;
  int looks_ = 0;
  std::vector<std::string> heard_;
  Heartbeat heartbeat_{
      loop_.Get(),
      {.interval = 1ms, .misses = 2},
      {[this](pid_t) {
         ++looks_;
         return Pulse{'S', 1};
       },
       [](pid_t) { return false; }, [](pid_t) {},
       [this](pid_t pid, const std::string&) { heard_.push_back("lost " + std::to_string(pid)); }}};
};

TEST_F(HeartbeatLoop, TellsThoseWhoWaitBeforeTheProgramIsLost) {
  const int other = 0;
  heartbeat_.Await(&looks_, kPid, Note("one"));
  heartbeat_.Await(&other, kPid, Note("other"));
  Run();
  EXPECT_THAT(heard_, UnorderedElementsAre("one", "other", "lost 42"));
  EXPECT_EQ(heard_.back(), "lost 42");
  EXPECT_EQ(looks_, 2);
}

TEST_F(HeartbeatLoop, DoesNotWakeTheLoopWhenNothingIsAwaited) {
  heartbeat_.Await(&looks_, kPid, Note("one"));
  heartbeat_.Release(&looks_);
  int events = 0;
  Timer later(loop_.Get(), [&events] { ++events; });
  later.Set(20ms);
  EXPECT_GT(sd_event_run(loop_.Get(), UINT64_MAX), 0);
  EXPECT_EQ(events, 1);  // the first to wake the loop
  EXPECT_EQ(looks_, 0);
}

TEST_F(HeartbeatLoop, HoldersOfALockAreNotLookedAtWhileNobodyWaits) {
  LockTable locks(heartbeat_);
  const int reader = 0;
  const int late = 0;
  locks.Take(&reader, "reader", kPid);
  Run();
  EXPECT_EQ(looks_, 0);
  locks.SetAwaited(true);
  locks.SetAwaited(false);
  Run();
  EXPECT_EQ(looks_, 0);
  locks.Release(&reader);
  locks.SetAwaited(true);
  locks.Take(&late, "late", kPid);
  Run();
  EXPECT_THAT(heard_, ElementsAre("lost 42"));
}

TEST_F(HeartbeatLoop, HoldersOfTheWritersAreNotLookedAtWhileNobodyWaits) {
  WriterHold writers(loop_.Get(), heartbeat_);
  const int holder = 0;
  const int other = 0;
  writers.Take(&holder, "holder", kPid);
  Run();
  writers.Wait(&other, [] {});
  writers.Release(&other);
  Run();
  EXPECT_EQ(looks_, 0);
  writers.Wait(&other, [&] { writers.Take(&other, "other", kPid + 1); });
  writers.Wait(&heard_, [] {});
  writers.Release(&holder);
  Run();
  EXPECT_THAT(heard_, ElementsAre("lost 43"));
}

}  // namespace
}  // namespace agentd::test
