// Steps that throw cost the one who asked, and nobody after them.
#include <stdexcept>

#include "commit_queue.h"
#include "fixture.h"
#include "loop.h"
#include "provider.h"

namespace agentd::test {
namespace {

using namespace std::chrono_literals;

HeartbeatRules NoHeartbeats() {
  return {.interval = 60s, .misses = 3};
}

class FailingStep : public DatastoreTest {
 protected:
  Loop loop_;
  Heartbeat heartbeat_{
      loop_.Get(),
      NoHeartbeats(),
      {[](pid_t) {
         return Pulse{'S', 1};
       },
       [](pid_t) { return false; }, [](pid_t) {}, [](pid_t, const std::string&) {}}};
  LockTable locks_{heartbeat_};
};

TEST_F(FailingStep, OfACommitLeavesTheQueueToTheNext) {
  Subscriptions nobody;
  Announcement announcement(loop_.Get(), TheModel(), nobody, heartbeat_, 10s);
  CommitQueue commits(loop_.Get(), datastore_, locks_, announcement, 10s);
  std::vector<std::string> done;
  const auto ask = [&](const std::string& who) {
    commits.Add({.owner = &done,
                 .origin = who,
                 .make = [this]() -> Result<Draft> { return datastore_.NewDraft(); },
                 .done = [&done, who](const CommitResult&) { done.push_back(who); }});
  };
  locks_.Wait(&done, [] { throw std::runtime_error("no reply to who waits for the lock"); });
  EXPECT_THROW(ask("first"), std::runtime_error);
  ask("second");
  EXPECT_THAT(done, ::testing::ElementsAre("second"));
}

class SilentPeer : public Peer {
 public:
  void Send(const pb::FromAgent&) override {}
  void Drop(const std::string&) override {}
  const std::string& Name() const override { return name_; }
  pid_t Pid() const override { return 0; }
  const std::string& User() const override { return name_; }
  bool MayChange() const override { return true; }
  std::size_t QueuedBytes() const override { return 0; }

 private:
  std::string name_ = "peer";
};

class TurnTaker : public Asker {
 public:
  explicit TurnTaker(bool fails) : fails_(fails) {}
  void OnTurn(Provider&) override {
    ++turns;
    if (fails_) {
      throw std::runtime_error("no question");
    }
  }
  void OnAnswer(std::uint64_t, const pb::ProviderReply&) override {}
  void OnDelayed(std::uint64_t, const pb::ProviderReply&) override {}
  void OnUnasked(std::uint64_t) override {}
  void OnMiss(std::uint64_t, Miss, const std::string&) override {}

  int turns = 0;

 private:
  bool fails_;
};

TEST_F(FailingStep, OfAReadLeavesTheTurnToTheNext) {
  SilentPeer peer;
  std::uint64_t last_id = 0;
  Provider provider(loop_.Get(), {locks_, heartbeat_, 10s, [] { return false; }}, 1, peer, last_id,
                    [](const std::string&) {});
  provider.SetWorker(peer);
  TurnTaker failing(true);
  EXPECT_THROW(provider.Want(failing), std::runtime_error);
  TurnTaker next(false);
  provider.Want(next);
  EXPECT_EQ(next.turns, 1);
}

}  // namespace
}  // namespace agentd::test
