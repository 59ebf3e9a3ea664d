// Commits and who hears of them, with agentd as a process.
#include <confd_lib.h>

#include <confd_cdb.h>

#include "fixture.h"
#include "running_agent.h"

namespace agentd::test {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;

const std::string kLevel = std::string(kEast) + "/level";
const std::vector<std::string> kMdList = {"config", "oam", "cfm", "md"};
const std::vector<std::string> kMepList = {"config", "oam", "cfm", "md", "ma", "mep"};
constexpr unsigned kLocked = CDB_LOCK_SESSION | CDB_LOCK_WAIT;

class Commit : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(Front().Edit({Document(EastDocument())}).txid(), 1U); }

  Client Front(const std::string& name = "front") {
    return Client(agent_, pb::ROLE_FRONT_END, name);
  }
  Client Data(const std::string& name = "reader") {
    return Client(agent_, pb::ROLE_CDB_DATA, name);
  }
  Client Subscriber(std::int32_t priority, const std::string& name = "listener") {
    Client client(agent_, pb::ROLE_CDB_SUBSCRIPTION, name);
    client.Subscribe(priority, kMdList);
    EXPECT_EQ(client.SubscribeDone().errors_size(), 0);
    return client;
  }

  // Peers that are silent here are no programs that stand still.
  RunningAgent agent_{{"--heartbeat-interval", "60"}};
};

class ImpatientCommit : public Commit {
 protected:
  ImpatientCommit() {
    agent_.Stop();
    impatient_.emplace(
        std::vector<std::string>{"--subscriber-timeout", "0.2", "--heartbeat-interval", "60"});
  }
  void SetUp() override {
    ASSERT_EQ(Impatient(pb::ROLE_FRONT_END).Edit({Document(EastDocument())}).txid(), 1U);
  }
  Client Impatient(pb::Role role, const std::string& name = "tester") {
    return Client(*impatient_, role, name);
  }
  std::optional<RunningAgent> impatient_;
};

TEST_F(Commit, SubscribersHearOfItInTheOrderOfTheirPriorities) {
  Client late = Subscriber(5);
  Client early = Subscriber(-1);
  Client front = Front();
  front.SendEdit({SetLeaf(kLevel, "4")});
  EXPECT_EQ(early.ReceiveNotification().txid(), 2U);
  EXPECT_TRUE(late.IsSilent(agent_));
  early.Sync();
  EXPECT_EQ(late.ReceiveNotification().points_size(), 1);
  EXPECT_TRUE(front.IsSilent(agent_));
  late.Sync();
  const pb::Reply reply = front.Receive();
  EXPECT_EQ(reply.errors_size(), 0);
  EXPECT_EQ(reply.warnings_size(), 0);
  EXPECT_EQ(reply.txid(), 2U);
}

TEST_F(Commit, OneConnectionGetsOneNotificationAPriorityWithThePointsThatWereTouched) {
  Client client(agent_, pb::ROLE_CDB_SUBSCRIPTION);
  const std::int32_t meps = client.Subscribe(0, kMepList);
  const std::int32_t mds = client.Subscribe(0, kMdList);
  const std::int32_t later = client.Subscribe(1, kMdList);
  client.SubscribeDone();
  Client front = Front();
  front.SendEdit({SetLeaf(kLevel, "4")});
  EXPECT_THAT(client.ReceiveNotification().points(), ::testing::ElementsAre(mds));
  client.Sync();
  EXPECT_THAT(client.ReceiveNotification().points(), ::testing::ElementsAre(later));
  client.Sync();
  EXPECT_EQ(front.Receive().txid(), 2U);
  front.SendEdit({SetLeaf(std::string(kMep5) + "/interface", "eth1")});
  EXPECT_THAT(client.ReceiveNotification().points(), ::testing::ElementsAre(meps, mds));
}

// The library takes no notification of more points.
TEST_F(Commit, AConnectionSubscribesToAsManyPointsAsANotificationCanName) {
  Client client(agent_, pb::ROLE_CDB_SUBSCRIPTION, "greedy");
  for (int i = 0; i < CDB_MAX_SUBSCRIPTION_POINTS; ++i) {
    client.Subscribe(0, kMdList);
  }
  pb::Request request;
  for (const std::string& name : kMdList) {
    request.mutable_subscribe()->mutable_path()->add_steps()->set_name(name);
  }
  const pb::Reply refusal = client.Call(request);
  ASSERT_EQ(refusal.errors_size(), 1);
  EXPECT_THAT(refusal.errors(0).message(), HasSubstr("1024 points"));
  EXPECT_EQ(client.SubscribeDone().errors_size(), 0);
  Client front = Front();
  front.SendEdit({SetLeaf(kLevel, "4")});
  EXPECT_EQ(client.ReceiveNotification().points_size(), CDB_MAX_SUBSCRIPTION_POINTS);
  client.Sync();
  EXPECT_EQ(front.Receive().warnings_size(), 0);
}

TEST_F(Commit, ThatChangesNothingKeepsTheNumberAndIsNotAnnounced) {
  Client subscriber = Subscriber(0);
  const pb::Reply reply = Front().Edit({SetLeaf(kLevel, "3")});
  EXPECT_EQ(reply.errors_size(), 0);
  EXPECT_EQ(reply.txid(), 1U);
  EXPECT_TRUE(subscriber.IsSilent(agent_));
}

TEST_F(Commit, ThatIsRefusedChangesNothingAndNamesTheRule) {
  Client front = Front();
  const pb::Reply reply = front.Edit({SetLeaf(kLevel, "9")});
  ASSERT_EQ(reply.errors_size(), 1);
  EXPECT_EQ(reply.errors(0).path(), kLevel);
  EXPECT_EQ(reply.errors(0).rule(), "range 0..7");
  EXPECT_EQ(reply.txid(), 1U);
  EXPECT_THAT(front.Show(), HasSubstr("<level>3</level>"));
}

TEST_F(Commit, TestOnlyChangesNothing) {
  Client front = Front();
  EXPECT_EQ(front.Edit({SetLeaf(kLevel, "4")}, pb::Edit::TEST_ONLY).errors_size(), 0);
  EXPECT_EQ(front.Edit({Operation(pb::EditOperation::DELETE, kLevel)}, pb::Edit::TEST_ONLY)
                .errors(0)
                .rule(),
            "mandatory");
  EXPECT_THAT(front.Show(), HasSubstr("<level>3</level>"));
  EXPECT_EQ(front.Status().txid(), 1U);
}

TEST_F(Commit, SurvivesASubscriberThatDies) {
  Client dying = Subscriber(0, "dying");
  Client living = Subscriber(1, "living");
  Client front = Front();
  front.SendEdit({SetLeaf(kLevel, "4")});
  dying.ReceiveNotification();
  dying.Hang();
  EXPECT_EQ(living.ReceiveNotification().txid(), 2U);
  living.Sync();
  const pb::Reply reply = front.Receive();
  EXPECT_EQ(reply.errors_size(), 0);
  ASSERT_EQ(reply.warnings_size(), 1);
  EXPECT_THAT(reply.warnings(0), HasSubstr("dying"));
  EXPECT_EQ(reply.txid(), 2U);
  EXPECT_EQ(front.Status().subscribers_size(), 1);
}

TEST_F(Commit, NamesWhoMissedAnEarlierOneUntilItIsBack) {
  Client dying = Subscriber(0, "dying");
  Client front = Front();
  front.SendEdit({SetLeaf(kLevel, "4")});
  dying.ReceiveNotification();
  dying.Hang();
  EXPECT_EQ(front.Receive().warnings_size(), 1);
  const pb::Reply reply = front.Edit({SetLeaf(kLevel, "5")});
  EXPECT_EQ(reply.txid(), 3U);
  ASSERT_EQ(reply.warnings_size(), 1);
  EXPECT_THAT(reply.warnings(0), AllOf(HasSubstr("subscriber dying (process "),
                                       HasSubstr("is gone since 2"), HasSubstr("not come back")));
  Client back = Subscriber(0, "dying");
  front.SendEdit({SetLeaf(kLevel, "6")});
  back.ReceiveNotification();
  back.Sync();
  EXPECT_EQ(front.Receive().warnings_size(), 0);
}

TEST_F(Commit, NamesWhoMissedAnEarlierOneOnlyIfItFollowsTheChange) {
  Client dying(agent_, pb::ROLE_CDB_SUBSCRIPTION, "dying");
  dying.Subscribe(0, kMepList);
  dying.SubscribeDone();
  Client front = Front();
  front.SendEdit({SetLeaf(std::string(kMep5) + "/interface", "eth1")});
  dying.ReceiveNotification();
  dying.Hang();
  EXPECT_EQ(front.Receive().warnings_size(), 1);
  EXPECT_EQ(front.Edit({SetLeaf(kLevel, "4")}).warnings_size(), 0);
  EXPECT_EQ(front.Edit({SetLeaf(std::string(kMep5) + "/interface", "eth2")}).warnings_size(), 1);
}

TEST_F(Commit, DoesNotNameASubscriberThatHasEndedInOrder) {
  Client leaving = Subscriber(0, "leaving");
  Client front = Front();
  front.SendEdit({SetLeaf(kLevel, "4")});
  leaving.ReceiveNotification();
  leaving.Sync();
  EXPECT_EQ(front.Receive().warnings_size(), 0);
  leaving.Hang();
  ASSERT_TRUE(agent_.AwaitLog("subscriber leaving"));
  EXPECT_EQ(front.Edit({SetLeaf(kLevel, "5")}).warnings_size(), 0);
}

TEST_F(Commit, NamesWhoMissedAnEarlierOneHoweverManyHaveEndedSince) {
  Client dying = Subscriber(0, "dying");
  Client front = Front();
  front.SendEdit({SetLeaf(kLevel, "4")});
  dying.ReceiveNotification();
  dying.Hang();
  EXPECT_EQ(front.Receive().warnings_size(), 1);
  for (int i = 0; i < 20; ++i) {
    const std::string name = "tool" + std::to_string(i);
    Subscriber(0, name).Hang();
    ASSERT_TRUE(agent_.AwaitLog("subscriber " + name + " (process " + std::to_string(getpid()) +
                                ") is gone"));
  }
  EXPECT_EQ(front.Status().lost_subscribers_size(), 16);
  EXPECT_EQ(front.Edit({SetLeaf(kLevel, "5")}).warnings_size(), 1);
}

// The other connection, for other nodes, stays; the program is there, and behind.
TEST_F(Commit, NamesAProgramThatHasLostOneOfItsConnections) {
  Client staying(agent_, pb::ROLE_CDB_SUBSCRIPTION, "both");
  staying.Subscribe(0, kMepList);
  staying.SubscribeDone();
  Client lost = Subscriber(0, "both");
  Client front = Front();
  front.SendEdit({SetLeaf(kLevel, "4")});
  lost.ReceiveNotification();
  lost.Hang();
  EXPECT_EQ(front.Receive().warnings_size(), 1);
  EXPECT_EQ(front.Edit({SetLeaf(kLevel, "5")}).warnings_size(), 1);
  EXPECT_EQ(front.Status().lost_subscribers_size(), 0);
}

TEST_F(Commit, NamesASubscriberThatIsLostBetweenTwoOfItsPriorities) {
  Client two(agent_, pb::ROLE_CDB_SUBSCRIPTION, "two");
  two.Subscribe(0, kMdList);
  two.Subscribe(2, kMdList);
  two.SubscribeDone();
  Client between = Subscriber(1, "between");
  Client front = Front();
  front.SendEdit({SetLeaf(kLevel, "4")});
  two.ReceiveNotification();
  two.Sync();
  between.ReceiveNotification();
  two.Hang();
  ASSERT_TRUE(agent_.AwaitLog("subscriber two"));
  between.Sync();
  const pb::Reply reply = front.Receive();
  EXPECT_EQ(reply.txid(), 2U);
  ASSERT_EQ(reply.warnings_size(), 1);
  EXPECT_THAT(reply.warnings(0), HasSubstr("subscriber two"));
}

TEST_F(Commit, DoesNotNameASubscriberThatDiesWhenItIsDone) {
  Client first = Subscriber(0, "first");
  Client second = Subscriber(1, "second");
  Client front = Front();
  front.SendEdit({SetLeaf(kLevel, "4")});
  first.ReceiveNotification();
  first.Sync();
  second.ReceiveNotification();
  first.Hang();
  second.Sync();
  EXPECT_EQ(front.Receive().warnings_size(), 0);
}

TEST_F(Commit, NamesASubscriberThatResetsItsConnectionWithoutReading) {
  Client subscriber = Subscriber(0, "deaf");
  Client witness = Subscriber(0, "witness");
  Client front = Front();
  front.SendEdit({SetLeaf(kLevel, "4")});
  witness.ReceiveNotification();  // and so the other one is there to be read
  subscriber.Hang();
  witness.Sync();
  const pb::Reply reply = front.Receive();
  ASSERT_EQ(reply.warnings_size(), 1);
  EXPECT_THAT(reply.warnings(0), HasSubstr("subscriber deaf"));
}

TEST_F(Commit, TakesNoAcknowledgementFromASubscriberThatHasNotReadIt) {
  Client blind = Subscriber(0, "blind");
  Client witness = Subscriber(0, "witness");
  Client front = Front();
  front.SendEdit({SetLeaf(kLevel, "4")});
  witness.ReceiveNotification();
  blind.Sync();
  witness.Sync();
  const pb::Reply reply = front.Receive();
  ASSERT_EQ(reply.warnings_size(), 1);
  EXPECT_THAT(reply.warnings(0), HasSubstr("subscriber blind"));
  EXPECT_EQ(blind.ReceiveNotification().txid(), 2U);
  EXPECT_TRUE(blind.IsClosed());
}

TEST_F(Commit, TakesOneAcknowledgementForOneNotification) {
  Client eager(agent_, pb::ROLE_CDB_SUBSCRIPTION, "eager");
  eager.Subscribe(0, kMdList);
  eager.Subscribe(1, kMdList);
  eager.SubscribeDone();
  Client front = Front();
  front.SendEdit({SetLeaf(kLevel, "4")});
  eager.ReceiveNotification();
  eager.Sync();
  eager.Sync();
  const pb::Reply reply = front.Receive();
  ASSERT_EQ(reply.warnings_size(), 1);
  EXPECT_THAT(reply.warnings(0), HasSubstr("subscriber eager"));
}

TEST_F(Commit, IsNotToldToASubscriberThatComesInItsMiddleAndReadsItAnyway) {
  Client first = Subscriber(0, "first");
  Client front = Front();
  front.SendEdit({SetLeaf(kLevel, "4")});
  first.ReceiveNotification();
  Client late = Subscriber(1, "late");
  EXPECT_EQ(Data().Txid(), 2U);
  first.Sync();
  EXPECT_EQ(front.Receive().warnings_size(), 0);
  EXPECT_TRUE(late.IsSilent(agent_));
  front.SendEdit({SetLeaf(kLevel, "5")});
  first.ReceiveNotification();
  first.Sync();
  EXPECT_EQ(late.ReceiveNotification().txid(), 3U);
}

TEST_F(Commit, OfTheCandidateNamesWhoMissedIt) {
  Client front = Front();
  front.Edit({SetLeaf(kLevel, "4")}, pb::Edit::CANDIDATE);
  Client dying = Subscriber(0, "dying");
  pb::Request request;
  request.mutable_commit_candidate();
  front.Send(request);
  dying.ReceiveNotification();
  dying.Hang();
  const pb::Reply reply = front.Receive();
  EXPECT_EQ(reply.txid(), 2U);
  ASSERT_EQ(reply.warnings_size(), 1);
  EXPECT_THAT(reply.warnings(0), HasSubstr("subscriber dying"));
}

TEST_F(Commit, OfAFrontEndThatGoesAwayIsWarnedOfInTheLog) {
  Client dying = Subscriber(0, "dying");
  Client front = Front();
  front.SendEdit({SetLeaf(kLevel, "4")});
  dying.ReceiveNotification();
  front.Hang();
  dying.Hang();
  EXPECT_TRUE(agent_.AwaitLog("was lost before it had dealt with the change"));
}

TEST_F(ImpatientCommit, SurvivesASubscriberThatHangs) {
  Client hanging = Impatient(pb::ROLE_CDB_SUBSCRIPTION, "hanging");
  hanging.Subscribe(0, kMdList);
  hanging.SubscribeDone();
  const pb::Reply reply = Impatient(pb::ROLE_FRONT_END).Edit({SetLeaf(kLevel, "4")});
  EXPECT_EQ(reply.errors_size(), 0);
  ASSERT_EQ(reply.warnings_size(), 1);
  EXPECT_THAT(reply.warnings(0), AllOf(HasSubstr("hanging"), HasSubstr("in time")));
  EXPECT_EQ(reply.txid(), 2U);
  EXPECT_EQ(hanging.ReceiveNotification().txid(), 2U);
  EXPECT_TRUE(hanging.IsClosed());
}

TEST_F(Commit, OfAFrontEndThatGoesAwayIsCarriedThrough) {
  Client subscriber = Subscriber(0);
  Client front = Front();
  front.SendEdit({SetLeaf(kLevel, "4")});
  subscriber.ReceiveNotification();
  Client next = Front();
  next.SendEdit({SetLeaf(kLevel, "5")});
  front.Hang();
  subscriber.Sync();
  EXPECT_EQ(subscriber.ReceiveNotification().txid(), 3U);
  subscriber.Sync();
  EXPECT_EQ(next.Receive().txid(), 3U);
}

TEST_F(Commit, IsVisibleToNewSessionsAndNotToOldOnes) {
  Client reader = Data();
  reader.StartSession(CDB_RUNNING, 0);
  const auto level = [&reader] {
    const pb::Reply reply = reader.Level("east");
    const pb::DataNode& cfm = reply.data().children(0).children(0);
    for (const auto& leaf : cfm.children(0).children()) {
      if (leaf.name() == "level") {
        return leaf.value().number();
      }
    }
    return std::int64_t{-1};
  };
  EXPECT_EQ(level(), 3);
  Front().Edit({SetLeaf(kLevel, "4")});
  EXPECT_EQ(level(), 3);
  EXPECT_EQ(reader.Txid(), 2U);
  reader.EndSession();
  reader.StartSession(CDB_RUNNING, 0);
  EXPECT_EQ(level(), 4);
}

TEST_F(Commit, WaitsUntilTheLockIsReleased) {
  Client locker = Data("locker");
  locker.StartSession(CDB_RUNNING, kLocked);
  EXPECT_EQ(locker.Receive().errors_size(), 0);
  Client front = Front();
  front.SendEdit({SetLeaf(kLevel, "4")});
  Client watcher = Front();
  EXPECT_TRUE(watcher.Status().commit_in_progress());
  EXPECT_EQ(locker.Txid(), 1U);
  EXPECT_TRUE(front.IsSilent(agent_));
  locker.EndSession();
  EXPECT_EQ(front.Receive().txid(), 2U);
}

TEST_F(Commit, GoesOnWhenTheHolderOfTheLockDies) {
  Client locker = Data();
  locker.StartSession(CDB_RUNNING, kLocked);
  locker.Receive();
  Client front = Front();
  front.SendEdit({SetLeaf(kLevel, "4")});
  locker.Hang();
  EXPECT_EQ(front.Receive().txid(), 2U);
}

TEST_F(ImpatientCommit, IsRefusedNamingTheHolderOfALockThatStays) {
  Client locker = Impatient(pb::ROLE_CDB_DATA, "locker");
  locker.StartSession(CDB_RUNNING, kLocked);
  locker.Receive();
  Client front = Impatient(pb::ROLE_FRONT_END);
  const pb::Reply reply = front.Edit({SetLeaf(kLevel, "4")});
  ASSERT_EQ(reply.errors_size(), 1);
  EXPECT_THAT(reply.errors(0).message(), HasSubstr("locker"));
  EXPECT_EQ(reply.txid(), 1U);
  locker.EndSession();
  EXPECT_EQ(front.Edit({SetLeaf(kLevel, "4")}).txid(), 2U);
}

TEST_F(ImpatientCommit, IsRefusedNamingAllHoldersInTheOrderInWhichTheyCame) {
  // Connections that come later take the memory of those that have gone.
  std::vector<Client> gone;
  for (int i = 0; i < 4; ++i) {
    gone.push_back(Impatient(pb::ROLE_CDB_DATA, "gone"));
  }
  std::vector<Client> lockers;
  lockers.push_back(Impatient(pb::ROLE_CDB_DATA, "one"));
  gone.clear();
  Impatient(pb::ROLE_FRONT_END).Status();
  for (const char* name : {"two", "three", "four"}) {
    lockers.push_back(Impatient(pb::ROLE_CDB_DATA, name));
  }
  for (Client& locker : lockers) {
    locker.StartSession(CDB_RUNNING, kLocked);
    locker.Receive();
  }
  const pb::Reply reply = Impatient(pb::ROLE_FRONT_END).Edit({SetLeaf(kLevel, "4")});
  ASSERT_EQ(reply.errors_size(), 1);
  EXPECT_THAT(reply.errors(0).message(),
              ::testing::ContainsRegex("one [^,]*, two [^,]*, three [^,]*, four"));
}

TEST_F(Commit, MakesALockWaitOrIsRefusedIt) {
  Client subscriber = Subscriber(0);
  Client front = Front();
  front.SendEdit({SetLeaf(kLevel, "4")});
  subscriber.ReceiveNotification();
  Client impatient = Data();
  impatient.StartSession(CDB_RUNNING, CDB_LOCK_SESSION);
  const pb::Reply refused = impatient.Receive();
  ASSERT_EQ(refused.errors_size(), 1);
  EXPECT_EQ(refused.errors(0).code(), CONFD_ERR_LOCKED);
  Client patient = Data();
  patient.StartSession(CDB_RUNNING, kLocked);
  Client other = Front();
  EXPECT_EQ(other.Status().txid(), 2U);  // and so both were heard
  EXPECT_TRUE(patient.IsSilent(agent_));
  subscriber.Sync();
  EXPECT_EQ(front.Receive().txid(), 2U);
  EXPECT_EQ(patient.Receive().errors_size(), 0);
}

TEST_F(Commit, StatusIsToldToWatchersAtEachChange) {
  Client watcher = Front();
  pb::Request watch;
  watch.mutable_watch_status();
  EXPECT_EQ(watcher.Call(watch).status().txid(), 1U);
  Client subscriber(agent_, pb::ROLE_CDB_SUBSCRIPTION, "daemon");
  subscriber.Subscribe(7, kMepList);
  subscriber.SubscribeDone();
  const pb::Status status = watcher.Receive().status();
  ASSERT_EQ(status.subscribers_size(), 1);
  EXPECT_EQ(status.subscribers(0).name(), "daemon");
  EXPECT_EQ(status.subscribers(0).priority(), 7);
  EXPECT_EQ(status.subscribers(0).points(0), "/config/oam/cfm/md/ma/mep");
  EXPECT_EQ(status.subscribers(0).pid(), getpid());
  EXPECT_EQ(status.database(), agent_.Database());
  Client front = Front();
  front.SendEdit({SetLeaf(std::string(kMep5) + "/interface", "eth1")});
  subscriber.ReceiveNotification();
  EXPECT_TRUE(watcher.Receive().status().commit_in_progress());
  subscriber.Sync();
  const pb::Status after = watcher.Receive().status();
  EXPECT_FALSE(after.commit_in_progress());
  EXPECT_EQ(after.txid(), 2U);
}

}  // namespace
}  // namespace agentd::test
