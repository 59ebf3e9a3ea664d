// Deadlines after the agent itself stood still past them: what has come
// meanwhile counts.
#include <confd_lib.h>
#include <poll.h>
#include <sys/timerfd.h>

#include <confd_cdb.h>

#include "provider_fixture.h"

namespace agentd::test {
namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;

constexpr const char* kMdLevel = "/config/oam/cfm/md[id='east']/level";
constexpr long kTimeoutMs = 200;

void AwaitTime(long milliseconds) {
  const ipc::UniqueFd timer(timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC));
  const itimerspec once{
      {}, {.tv_sec = milliseconds / 1000, .tv_nsec = milliseconds % 1000 * 1'000'000}};
  ASSERT_EQ(timerfd_settime(timer.Get(), 0, &once, nullptr), 0);
  pollfd expiry{timer.Get(), POLLIN, 0};
  ASSERT_EQ(poll(&expiry, 1, -1), 1);
}

class StandstillTest : public ProviderTest {
 protected:
  StandstillTest()
      : ProviderTest({"--subscriber-timeout", "0.2", "--provider-timeout", "0.2",
                      "--heartbeat-interval", "60", "--end-timeout", "0"}) {}

  // `meanwhile` happens while the agent stands still, past every deadline that
  // is set now. What it finds first when it goes on is chance: so there is more
  // that it could find than the deadline.
  void StandStill(const std::function<void()>& meanwhile) {
    std::vector<Client> others;
    for (int i = 0; i < 8; ++i) {
      others.push_back(Front("other"));
    }
    agent_.Freeze();
    pb::Request look;
    look.mutable_get_status();
    for (Client& each : others) {
      each.Send(look);
    }
    meanwhile();
    AwaitTime(2 * kTimeoutMs);
    agent_.GoOn();
    for (Client& each : others) {
      each.Receive();
    }
  }
};

TEST_F(StandstillTest, WhoHasAcknowledgedACommitIsNotLate) {
  std::vector<Client> subscribers;
  for (int i = 0; i < 8; ++i) {
    Client& each = subscribers.emplace_back(agent_, pb::ROLE_CDB_SUBSCRIPTION, std::to_string(i));
    each.Subscribe(0, {"config", "oam", "cfm", "md"});
    each.SubscribeDone();
  }
  Client front = Front();
  for (const char* level : {"4", "5", "6"}) {
    front.SendEdit({SetLeaf(kMdLevel, level)});
    for (Client& each : subscribers) {
      each.ReceiveNotification();
    }
    StandStill([&] {
      for (Client& each : subscribers) {
        each.Sync();
      }
    });
    EXPECT_THAT(front.Receive().warnings(), IsEmpty());
  }
}

// The provider needs the agent for its answer.
TEST_F(StandstillTest, WhoCouldNotGoOnWithoutTheAgentIsNotLate) {
  ScriptedProvider provider(agent_);
  Client front = Front();
  Client data(agent_, pb::ROLE_CDB_DATA, "cfm-app");
  front.SendGet(std::string(kLocal0) + "/level");
  provider.Begin();
  const pb::ProviderRequest asked = provider.Next();
  StandStill([&] { data.StartSession(CDB_RUNNING, 0); });
  EXPECT_EQ(data.Level("east").errors_size(), 0);
  data.EndSession();
  provider.Send(PlainReply(asked));
  provider.ServeUntil(front);
  EXPECT_THAT(front.Receive().warnings(), IsEmpty());
}

TEST_F(StandstillTest, ALockThatWasReleasedRefusesNoCommit) {
  Client front = Front();
  for (const char* level : {"4", "5", "6"}) {
    std::vector<Client> holders;
    for (int i = 0; i < 8; ++i) {
      Client& each = holders.emplace_back(agent_, pb::ROLE_CDB_DATA, std::to_string(i));
      each.StartSession(CDB_RUNNING, CDB_LOCK_SESSION | CDB_LOCK_WAIT);
      each.Receive();
    }
    front.SendEdit({SetLeaf(kMdLevel, level)});
    while (!Front("witness").Status().commit_in_progress()) {
    }
    StandStill([&] {
      for (Client& each : holders) {
        each.EndSession();
      }
    });
    EXPECT_EQ(front.Receive().errors_size(), 0);
  }
}

TEST_F(StandstillTest, WhoIsSilentStillIsGivenUp) {
  Client subscriber(agent_, pb::ROLE_CDB_SUBSCRIPTION, "silent");
  subscriber.Subscribe(0, {"config", "oam", "cfm", "md"});
  subscriber.SubscribeDone();
  Client front = Front();
  front.SendEdit({SetLeaf(kMdLevel, "4")});
  subscriber.ReceiveNotification();
  StandStill([] {});
  EXPECT_THAT(OnlyWarning(front.Receive()), HasSubstr("did not answer in time"));
}

}  // namespace
}  // namespace agentd::test
