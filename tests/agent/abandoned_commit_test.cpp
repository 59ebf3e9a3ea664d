// Commits that are not brought to their end: the front end or the agent goes
// at some point on the way. What comes after knows nothing of them.
#include <confd_lib.h>

#include <confd_cdb.h>
#include <sys/socket.h>

#include "await_status.h"
#include "fixture.h"
#include "frame.h"
#include "running_agent.h"

namespace agentd::test {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

const std::string kLevel = std::string(kEast) + "/level";
const std::string kOtherMd = "/config/oam/cfm/md[id='west']";
constexpr unsigned kLocked = CDB_LOCK_SESSION | CDB_LOCK_WAIT;

// The change that is abandoned and, of another leaf, the one that comes after.
pb::EditOperation Abandoned() {
  return SetLeaf(kOtherMd + "/level", "6");
}
pb::EditOperation Next() {
  return SetLeaf(kLevel, "4");
}

class AbandonedCommit : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(Front().Edit({Document(EastDocument())}).txid(), 1U); }

  Client Front(const std::string& name = "front") {
    return Client(agent_, pb::ROLE_FRONT_END, name);
  }
  Client Subscriber() {
    Client client(agent_, pb::ROLE_CDB_SUBSCRIPTION, "listener");
    client.Subscribe(0, {"config", "oam", "cfm", "md"});
    client.SubscribeDone();
    return client;
  }
  // A program that keeps commits waiting.
  Client Locker() {
    Client client(agent_, pb::ROLE_CDB_DATA, "locker");
    client.StartSession(CDB_RUNNING, kLocked);
    client.Receive();
    return client;
  }
  // The beginning of an edit, of which the rest never comes.
  static void SendHalf(Client& front) {
    pb::Request request;
    *request.mutable_edit()->add_operations() = Abandoned();
    std::string bytes;
    ipc::AppendFrame(bytes, request);
    ASSERT_EQ(send(front.Fd(), bytes.data(), bytes.size() / 2, 0),
              static_cast<ssize_t>(bytes.size() / 2));
  }
  // The next commit works, takes the next number and is the whole change.
  void ExpectNextIsAlone(std::uint64_t txid) {
    Client subscriber = Subscriber();
    Client front = Front("next");
    EXPECT_FALSE(front.Status().commit_in_progress());
    EXPECT_FALSE(front.Status().candidate_open());
    front.SendEdit({Next()});
    const pb::Notification notification = subscriber.ReceiveNotification();
    EXPECT_EQ(notification.txid(), txid);
    // config, oam, cfm, one MD and in it one leaf
    const pb::Change* change = &notification.root();
    for (int depth = 0; depth < 5; ++depth) {
      ASSERT_EQ(change->children_size(), 1) << depth;
      change = &change->children(0);
    }
    EXPECT_EQ(change->new_value().number(), 4);
    subscriber.Sync();
    const pb::Reply reply = front.Receive();
    EXPECT_EQ(reply.errors_size(), 0);
    EXPECT_EQ(reply.txid(), txid);
  }
  void ExpectWest(bool is_there) {
    EXPECT_EQ(Front().Show().find("west") != std::string::npos, is_there);
  }
  void Restart() {
    agent_.Kill();
    agent_.Start();
  }

  // Peers that are silent here are no programs that stand still.
  RunningAgent agent_{{"--heartbeat-interval", "60"}};
};

TEST_F(AbandonedCommit, HalfADocumentIsNothing) {
  Client front = Front();
  SendHalf(front);
  front.Hang();
  ExpectNextIsAlone(2);
  ExpectWest(false);
}

TEST_F(AbandonedCommit, HalfADocumentIsNothingAfterTheAgentsDeath) {
  Client front = Front();
  SendHalf(front);
  Restart();
  ExpectNextIsAlone(2);
  ExpectWest(false);
}

TEST_F(AbandonedCommit, OneThatWaitsForALockIsDropped) {
  Client locker = Locker();
  Client front = Front("leaving");
  front.SendEdit({Abandoned()});
  AwaitCommitInProgress(Front("witness"));
  front.Hang();
  AwaitCommitInProgress(Front("witness"), false);
  EXPECT_THAT(agent_.Log(), HasSubstr("commit from leaving (process"));
  locker.EndSession();
  ExpectNextIsAlone(2);
  ExpectWest(false);
}

TEST_F(AbandonedCommit, OneThatWaitsForALockIsNothingAfterTheAgentsDeath) {
  Client locker = Locker();
  Client front = Front();
  front.SendEdit({Abandoned()});
  AwaitCommitInProgress(Front("witness"));
  Restart();
  ExpectNextIsAlone(2);
  ExpectWest(false);
}

TEST_F(AbandonedCommit, OneInTheQueueIsDroppedAtItsTurn) {
  Client subscriber = Subscriber();
  Client first = Front("first");
  first.SendEdit({SetLeaf(kLevel, "5")});
  subscriber.ReceiveNotification();
  Client leaving = Front("leaving");
  leaving.SendEdit({Abandoned()});
  leaving.Hang();
  Client last = Front("last");
  last.SendEdit({SetLeaf(kLevel, "6")});
  subscriber.Sync();
  EXPECT_EQ(first.Receive().txid(), 2U);
  EXPECT_EQ(subscriber.ReceiveNotification().txid(), 3U);
  subscriber.Sync();
  EXPECT_EQ(last.Receive().txid(), 3U);
  subscriber.Hang();
  EXPECT_TRUE(agent_.AwaitLog("commit from leaving (process"));
  ExpectNextIsAlone(4);
  ExpectWest(false);
}

TEST_F(AbandonedCommit, OneInTheQueueIsNothingAfterTheAgentsDeath) {
  Client subscriber = Subscriber();
  Client first = Front("first");
  first.SendEdit({SetLeaf(kLevel, "5")});
  subscriber.ReceiveNotification();
  Client queued = Front("queued");
  queued.SendEdit({Abandoned()});
  Front("witness").Status();
  Restart();
  ExpectNextIsAlone(3);
  ExpectWest(false);
}

TEST_F(AbandonedCommit, OneThatIsAnnouncedStands) {
  {
    Client subscriber = Subscriber();
    Client front = Front();
    front.SendEdit({Abandoned()});
    subscriber.ReceiveNotification();
    front.Hang();
    subscriber.Sync();
  }
  AwaitCommitInProgress(Front("witness"), false);
  ExpectNextIsAlone(3);
  ExpectWest(true);
}

TEST_F(AbandonedCommit, OneThatIsAnnouncedStandsAfterTheAgentsDeath) {
  Client subscriber = Subscriber();
  Client front = Front();
  front.SendEdit({Abandoned()});
  subscriber.ReceiveNotification();
  Restart();
  ExpectNextIsAlone(3);
  ExpectWest(true);
}

TEST_F(AbandonedCommit, ACandidateOutlivesItsFrontEndAndHasNoPartInOtherCommits) {
  Front("leaving").Edit({Abandoned()}, pb::Edit::CANDIDATE);
  EXPECT_EQ(Front().Edit({Next()}).txid(), 2U);
  ExpectWest(false);
  Client front = Front();
  EXPECT_TRUE(front.Status().candidate_open());
  const pb::Reply stale = front.CommitCandidate();
  ASSERT_EQ(stale.errors_size(), 1);
  EXPECT_THAT(stale.errors(0).message(), HasSubstr("discard it"));
  EXPECT_EQ(front.DiscardCandidate().errors_size(), 0);
  EXPECT_EQ(front.Edit({SetLeaf(kLevel, "5")}, pb::Edit::CANDIDATE).errors_size(), 0);
  EXPECT_EQ(front.CommitCandidate().txid(), 3U);
  ExpectWest(false);
}

TEST_F(AbandonedCommit, ACandidateIsGoneAfterTheAgentsDeath) {
  Front().Edit({Abandoned()}, pb::Edit::CANDIDATE);
  Restart();
  ExpectNextIsAlone(2);
  ExpectWest(false);
}

TEST_F(AbandonedCommit, ACandidateWhoseCommitIsDroppedIsAsItWas) {
  Front().Edit({Abandoned()}, pb::Edit::CANDIDATE);
  Client locker = Locker();
  Client leaving = Front("leaving");
  pb::Request commit;
  commit.mutable_commit_candidate();
  leaving.Send(commit);
  AwaitCommitInProgress(Front("witness"));
  leaving.Hang();
  AwaitCommitInProgress(Front("witness"), false);
  locker.EndSession();
  ExpectWest(false);
  Client front = Front();
  EXPECT_EQ(front.DiffCandidate().diff_size(), 2);  // the MD and its level
  EXPECT_EQ(front.CommitCandidate().txid(), 2U);
  ExpectWest(true);
  ExpectNextIsAlone(3);
}

TEST_F(AbandonedCommit, ALockOfADeadProgramIsReleased) {
  { Client locker = Locker(); }
  ExpectNextIsAlone(2);
}

}  // namespace
}  // namespace agentd::test
