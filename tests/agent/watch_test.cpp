// Watching operational data, and sessions of programs on it.
#include "provider_fixture.h"

namespace agentd::test {
namespace {

using ::testing::AllOf;
using ::testing::Contains;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Pair;
using ::testing::UnorderedElementsAre;

class WatchTest : public ProviderTest {
 protected:
  static pb::Request Watch(const std::string& path) {
    pb::Request request;
    request.mutable_watch_operational()->set_path(path);
    return request;
  }
  static std::vector<std::string> Paths(const pb::Reply& reply) {
    std::vector<std::string> paths;
    for (const auto& change : reply.operational()) {
      paths.push_back(change.path() + (change.has_entry() ? "" : " gone"));
    }
    return paths;
  }
};

TEST_F(WatchTest, TheEntriesComeAtOnceWithTheirWrittenLeaves) {
  Client watcher = Front("watcher");
  const pb::Reply reply = watcher.Call(Watch("/status/oam/cfm"));
  EXPECT_THAT(Paths(reply), UnorderedElementsAre(kLocal0, kRemote1));
  const pb::Reply remote = watcher.Call(Watch("/status/oam/cfm/remote"));
  ASSERT_EQ(remote.operational_size(), 1);
  EXPECT_THAT(LeavesOf(remote.operational(0).entry()),
              UnorderedElementsAre(Pair("id", "1"), Pair("md", "east"), Pair("ma", "blue"),
                                   Pair("remote-mep", "100")));
}

TEST_F(WatchTest, EachChangeComesAsItHappens) {
  Client watcher = Front("watcher");
  watcher.Call(Watch("/status/oam/cfm/local"));
  writer_.Set(EntryPath("local", 0, "defects"), TextOf("RX"));
  pb::Reply reply = watcher.Receive();
  ASSERT_THAT(Paths(reply), UnorderedElementsAre(kLocal0));
  EXPECT_THAT(LeavesOf(reply.operational(0).entry()),
              AllOf(Contains(Pair("defects", "RX")), Contains(Pair("mep", "5"))));
  writer_.Create(EntryPath("local", 4));
  EXPECT_THAT(Paths(watcher.Receive()), UnorderedElementsAre("/status/oam/cfm/local[id='4']"));
  writer_.Delete(EntryPath("local", 0));
  EXPECT_THAT(Paths(watcher.Receive()), UnorderedElementsAre(std::string(kLocal0) + " gone"));
}

TEST_F(WatchTest, WhatIsElsewhereOrStaysTheSameIsNotTold) {
  Client watcher = Front("watcher");
  watcher.Call(Watch(kLocal0));
  writer_.Set(EntryPath("local", 0, "md"), TextOf("east"));
  writer_.Set(EntryPath("remote", 1, "state"), NumberOf(C_ENUM_VALUE, 3));
  writer_.Create(EntryPath("local", 1));
  writer_.Fetch(StatusPath({"local"}));  // a turn of the loop later
  EXPECT_TRUE(watcher.IsSilent(agent_));
  writer_.Set(EntryPath("local", 0, "md"), TextOf("west"));
  EXPECT_THAT(Paths(watcher.Receive()), UnorderedElementsAre(kLocal0));
}

TEST_F(WatchTest, AnEmptyListIsWatchedToo) {
  writer_.Delete(EntryPath("local", 0));
  Client watcher = Front("watcher");
  EXPECT_THAT(Paths(watcher.Call(Watch("/status/oam/cfm/local"))), IsEmpty());
  writer_.Create(EntryPath("local", 0));
  EXPECT_THAT(Paths(watcher.Receive()), UnorderedElementsAre(kLocal0));
}

TEST_F(WatchTest, PathsThatCannotBeWatchedAreRefused) {
  Client watcher = Front("watcher");
  for (const char* path : {"/config/oam/cfm", "/status/oam/cfm/local[id='0']/md", "/nowhere"}) {
    EXPECT_EQ(watcher.Call(Watch(path)).errors_size(), 1) << path;
  }
}

// The status is long, as there are many points.
TEST_F(WatchTest, AStatusWatcherThatDoesNotKeepUpIsToldSoAndNoMore) {
  Client slow = Front("slow");
  pb::Request watch;
  watch.mutable_watch_status();
  slow.Call(watch);
  Client subscriber(agent_, pb::ROLE_CDB_SUBSCRIPTION, "listener");
  for (int i = 0; i < 1000; ++i) {
    subscriber.Subscribe(0, {"config", "oam", "cfm", "md", "ma", "mep", "continuity-check"});
  }
  subscriber.SubscribeDone();
  Client front = Front();
  constexpr int kCommits = 400;
  for (int i = 0; i < kCommits; ++i) {
    front.Edit({SetLeaf(std::string(kEast) + "/level", std::to_string(i % 2))});
  }
  EXPECT_TRUE(agent_.AwaitLog("the watch of slow"));
  pb::Reply reply = slow.Receive();
  int changes = 0;
  for (; reply.has_status(); reply = slow.Receive()) {
    ++changes;
  }
  EXPECT_LT(changes, kCommits);
  EXPECT_THAT(OnlyError(reply), HasSubstr("the watch did not keep up"));
  EXPECT_TRUE(slow.IsSilent(agent_));
  EXPECT_GT(slow.Call(watch).status().txid(), 1U) << "the connection serves on";
}

TEST_F(WatchTest, AWatcherThatDoesNotKeepUpIsToldSoAndNoMore) {
  Client slow = Front("slow");
  slow.Call(Watch("/status"));
  Client witness = Front("witness");
  const std::string megabyte(1U << 20, 'x');
  for (int i = 0; i < 32; ++i) {
    ASSERT_EQ(writer_.Set(EntryPath("local", 0, "defects"), TextOf(megabyte + std::to_string(i))),
              CONFD_OK);
  }
  EXPECT_EQ(witness.Status().txid(), 1U);
  EXPECT_THAT(agent_.Log(), AllOf(HasSubstr("slow"), HasSubstr("does not keep up")));
  pb::Reply reply = slow.Receive();
  int changes = 0;
  for (; reply.operational_size() > 0; reply = slow.Receive()) {
    ++changes;
  }
  EXPECT_LT(changes, 32);
  EXPECT_THAT(OnlyError(reply), HasSubstr("the watch did not keep up"));
  EXPECT_TRUE(slow.IsSilent(agent_));
  EXPECT_EQ(slow.Status().txid(), 1U) << "the connection serves on";
}

TEST_F(WatchTest, ProgramsReadTheirWritesBack) {
  const pb::Reply reply = writer_.Fetch(EntryPath("local", 0, "md"));
  ASSERT_EQ(reply.errors_size(), 0);
  const pb::DataNode& cfm = reply.data().children(0).children(0);
  EXPECT_EQ(cfm.name(), "cfm");
  EXPECT_EQ(cfm.children(0).name(), "local");
}

TEST_F(WatchTest, EntriesOutliveTheirWriter) {
  {
    OperationalWriter other(agent_);
    other.Put("local", 11, LocalMep("east", "blue", 5));
  }
  EXPECT_EQ(writer_.Create(EntryPath("local", 11)), CONFD_ERR_ALREADY_EXISTS);
  EXPECT_EQ(writer_.Delete(EntryPath("local", 11)).errors_size(), 0);
}

TEST_F(WatchTest, ASessionOnTheRunningDatastoreWritesNothing) {
  Client client(agent_, pb::ROLE_CDB_DATA);
  pb::Request request;
  *request.mutable_operational_write()->mutable_path() = EntryPath("local", 1);
  EXPECT_EQ(client.Call(request).errors(0).code(), CONFD_ERR_NOSESSION);
  client.StartSession(1, 0);
  EXPECT_EQ(client.Call(request).errors(0).code(), CONFD_ERR_NOT_WRITABLE);
}

}  // namespace
}  // namespace agentd::test
