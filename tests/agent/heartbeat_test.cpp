// Programs that agentd waits for and that stand still, compute, or wait
// themselves. Those of a test are one process with it, which is asleep while it
// waits for the agent.
#include <confd_lib.h>
#include <time.h>

#include <confd_cdb.h>

#include "heartbeat.h"
#include "provider_fixture.h"

namespace agentd::test {
namespace {

using ::testing::AllOf;
using ::testing::ContainsRegex;
using ::testing::HasSubstr;
using ::testing::Not;
using namespace std::chrono_literals;

constexpr const char* kMdLevel = "/config/oam/cfm/md[id='east']/level";
const std::string kSent0 = std::string(kLocal0) + "/mep-ccms-sent";

class HeartbeatTest : public ProviderTest {
 protected:
  explicit HeartbeatTest(std::vector<std::string> options = {"--heartbeat-interval", "0.02"})
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
  Client still = Subscriber("still");
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
  EXPECT_EQ(still.ReceiveNotification().txid(), 2U);
  EXPECT_TRUE(still.IsClosed());
  EXPECT_THAT(agent_.Log(), ContainsRegex("connection of still .*notified of commit 2, it gave no "
                                          "sign of life for [0-9]+ ms"));
  EXPECT_THAT(agent_.Log(), Not(HasSubstr("connection of living")));
}

std::chrono::nanoseconds ProcessorTime() {
  timespec time{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
  return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
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
      : HeartbeatTest({"--heartbeat-interval", "0.02", "--subscriber-timeout", "0.3"}) {}
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

TEST(HeartbeatLoop, DoesNotWakeTheLoopWhenNothingIsAwaited) {
  sd_event* loop = nullptr;
  ASSERT_GE(sd_event_new(&loop), 0);
  {
    int looks = 0;
    Heartbeat heartbeat(loop, {.interval = 1ms, .misses = 2},
                        {[&looks](pid_t) {
                           ++looks;
                           return Pulse{'S', 1};
                         },
                         [](pid_t) { return false; }, [](pid_t) {}});
    bool given_up = false;
    heartbeat.Await(&looks, 42, [&given_up](const std::string&) { given_up = true; });
    while (!given_up) {
      sd_event_run(loop, UINT64_MAX);
    }
    EXPECT_EQ(looks, 2);
    heartbeat.Await(&looks, 42, [](const std::string&) {});
    heartbeat.Release(&looks);
    int events = 0;
    Timer later(loop, [&events] { ++events; });
    later.Set(20ms);
    EXPECT_GT(sd_event_run(loop, UINT64_MAX), 0);
    EXPECT_EQ(events, 1);  // the first to wake the loop
    EXPECT_EQ(looks, 2);
  }
  sd_event_unref(loop);
}

}  // namespace
}  // namespace agentd::test
