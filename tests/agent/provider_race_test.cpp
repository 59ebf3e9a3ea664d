// Reads that meet deletions, commits, other reads and front ends that go away.
#include <confd_cdb.h>

#include "provider_fixture.h"

namespace agentd::test {
namespace {

using ::testing::AllOf;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::Pair;

const std::string kLevel0 = std::string(kLocal0) + "/level";
const std::string kSent0 = std::string(kLocal0) + "/mep-ccms-sent";
const std::string kMdLevel = std::string(kEast) + "/level";

class ProviderRaceTest : public ProviderTest {
 protected:
  using ProviderTest::ProviderTest;
  Client Subscriber() {
    Client client(agent_, pb::ROLE_CDB_SUBSCRIPTION, "listener");
    client.Subscribe(0, {"config", "oam", "cfm", "md"});
    client.SubscribeDone();
    return client;
  }
};

TEST_F(ProviderRaceTest, ARequestForADeletedEntryIsWithdrawn) {
  ScriptedProvider provider(agent_);
  Client front = Front();
  front.SendGet(kLevel0);
  provider.Begin();
  const pb::ProviderRequest request = provider.Next();
  const pb::Reply deleted = writer_.Delete(EntryPath("local", 0));
  EXPECT_EQ(deleted.errors_size(), 0);
  EXPECT_THAT(deleted.withdrawn(), ElementsAre(request.id()));
  const pb::Reply reply = front.Receive();
  EXPECT_THAT(OnlyError(reply), HasSubstr("the entry is gone"));
  EXPECT_EQ(reply.errors(0).rule(), "data-missing");
  // It had answered before it knew: that is no mistake.
  provider.Send(PlainReply(request));
  front.SendGet(kRemote1);
  provider.ServeUntil(front);
  EXPECT_EQ(front.Receive().errors_size(), 0);
}

TEST_F(ProviderRaceTest, AListIsReadOnWithoutTheDeletedEntry) {
  ScriptedProvider provider(agent_);
  writer_.Put("local", 3, LocalMep("east", "blue", 5));
  Client front = Front();
  front.SendGet("/status/oam/cfm/local");
  provider.Begin();
  provider.Send(PlainReply(provider.Next()));
  const pb::ProviderRequest request = provider.Next();
  EXPECT_EQ(Describe(request), "ccm-interval of local 0");
  const pb::Reply deleted = writer_.Delete(PositionPath("local", 0));
  EXPECT_THAT(deleted.withdrawn(), Contains(request.id()));
  provider.Withdraw(deleted.withdrawn());
  for (const std::string& each : provider.ServeUntil(front)) {
    EXPECT_THAT(each, HasSubstr("local 3"));
  }
  const pb::Reply reply = front.Receive();
  ASSERT_EQ(reply.node().children_size(), 1);
  EXPECT_THAT(LeavesOf(reply.node().children(0)), Contains(Pair("id", "3")));
  EXPECT_EQ(OnlyWarning(reply), "1 entry went away during the read");
}

TEST_F(ProviderRaceTest, ADelayedRequestIsNotWithdrawnAndHoldsNothingUp) {
  ScriptedProvider provider(agent_);
  Client front = Front();
  front.SendGet(kSent0);
  provider.Begin();
  const pb::ProviderRequest parked = provider.Next();
  provider.Send(ResultReply(parked, pb::ProviderReply::DELAYED));
  Client other = Front("other");
  other.SendGet(kLevel0);  // asked once the delay is known
  provider.Begin();
  provider.Send(PlainReply(provider.Next()));
  other.Receive();
  EXPECT_THAT(writer_.Delete(EntryPath("local", 0)).withdrawn(), IsEmpty());
  EXPECT_THAT(OnlyError(front.Receive()), HasSubstr("the entry is gone"));
  provider.Send(ValueReply(parked, NumberOf(C_UINT64, 1)));
  front.SendGet(kRemote1);
  provider.ServeUntil(front);
  EXPECT_EQ(front.Receive().errors_size(), 0);
}

// It begins anew because of the commit, and finds nothing to begin with.
TEST_F(ProviderRaceTest, AReadThatBeginsAnewWithoutItsEntrySaysThatItIsGone) {
  ScriptedProvider provider(agent_);
  Client reader = Front("reader");
  reader.SendGet(kLocal0);
  provider.Begin();
  pb::ProviderRequest request = provider.Next();
  while (Describe(request) != "mep-ccms-sent of local 0") {
    provider.Send(PlainReply(request));
    request = provider.Next();
  }
  provider.Send(ResultReply(request, pb::ProviderReply::DELAYED));
  Client other = Front("other");
  other.SendGet(kLevel0);  // asked once the delay is known
  provider.Begin();
  provider.Send(PlainReply(provider.Next()));
  other.Receive();
  EXPECT_EQ(Front().Edit({SetLeaf(kMdLevel, "4")}).txid(), 2U);
  EXPECT_THAT(writer_.Delete(EntryPath("local", 0)).withdrawn(), IsEmpty());
  const pb::Reply reply = reader.Receive();
  EXPECT_THAT(OnlyError(reply), HasSubstr("the entry is gone"));
  EXPECT_EQ(reply.errors_size() > 0 ? reply.errors(0).rule() : "", "data-missing");
}

TEST_F(ProviderRaceTest, ANewEntryWithTheKeyOfADeletedOneIsAnother) {
  ScriptedProvider provider(agent_);
  Client front = Front();
  front.SendGet("/status/oam/cfm/local");
  provider.Begin();
  const pb::ProviderRequest request = provider.Next();
  const pb::Reply deleted = writer_.Delete(EntryPath("local", 0));
  EXPECT_EQ(deleted.withdrawn_size(), static_cast<int>(provider.Left().size()) + 1);
  provider.Withdraw(deleted.withdrawn());
  writer_.Put("local", 0, LocalMep("east", "blue", 5));
  const pb::Reply reply = front.Receive();
  EXPECT_EQ(reply.node().children_size(), 0);
  EXPECT_THAT(OnlyWarning(reply), HasSubstr("1 entry went away"));
  front.SendGet(kLevel0);
  provider.AwaitFinish();
  provider.ServeUntil(front);
  EXPECT_EQ(front.Receive().node().value(), "1");
}

TEST_F(ProviderRaceTest, ACommitWaitsForTheBatchInFlight) {
  ScriptedProvider provider(agent_);
  Client listener = Subscriber();
  Client reader = Front("reader");
  reader.SendGet(kLocal0);
  provider.Begin();
  const pb::ProviderRequest request = provider.Next();
  Client front = Front();
  front.SendEdit({SetLeaf(kMdLevel, "4")});
  EXPECT_TRUE(Front("witness").Status().commit_in_progress());
  EXPECT_TRUE(listener.IsSilent(agent_));
  provider.Send(PlainReply(request));
  EXPECT_TRUE(Front("witness").Status().commit_in_progress());
  EXPECT_TRUE(listener.IsSilent(agent_));
  provider.AnswerLeft();
  // Now the commit goes first: nothing is asked until its subscribers are
  // done, for their reads would meet it half-way.
  EXPECT_EQ(listener.ReceiveNotification().txid(), 2U);
  EXPECT_TRUE(Front("witness").Status().commit_in_progress());
  EXPECT_TRUE(provider.IsIdle(agent_));
  listener.Sync();
  EXPECT_EQ(front.Receive().txid(), 2U);
  // The read begins anew, on the configuration that is now.
  const auto asked = provider.ServeUntil(reader);
  EXPECT_EQ(asked.size(), 16U);
  EXPECT_THAT(asked, ::testing::Contains("level of local 0"));
  const pb::Reply reply = reader.Receive();
  EXPECT_EQ(reply.warnings_size(), 0);
  EXPECT_THAT(LeavesOf(reply.node()), Contains(Pair("interface", "text")));
}

TEST_F(ProviderRaceTest, WhatACommitTookAwayIsNotAskedAnyMore) {
  ScriptedProvider provider(agent_);
  Client reader = Front("reader");
  reader.SendGet(kLocal0);
  provider.Begin();
  const pb::ProviderRequest request = provider.Next();
  Client front = Front();
  front.SendEdit({Operation(pb::EditOperation::DELETE, kMep5)});
  EXPECT_TRUE(Front("witness").Status().commit_in_progress());
  provider.Send(PlainReply(request));
  provider.AnswerLeft();
  EXPECT_EQ(front.Receive().txid(), 2U);
  const pb::Reply reply = reader.Receive();
  EXPECT_TRUE(provider.IsIdle(agent_));
  EXPECT_EQ(reply.errors_size(), 0);
  EXPECT_EQ(reply.warnings_size(), 0);
  EXPECT_THAT(LeavesOf(reply.node()),
              AllOf(Contains(Pair("md", "east")), Not(Contains(Pair("level", ::testing::_)))));
}

TEST_F(ProviderRaceTest, ACommitDoesNotWaitForADelayedReply) {
  ScriptedProvider provider(agent_);
  Client reader = Front("reader");
  reader.SendGet(kSent0);
  provider.Begin();
  const pb::ProviderRequest parked = provider.Next();
  provider.Send(ResultReply(parked, pb::ProviderReply::DELAYED));
  EXPECT_EQ(Front().Edit({SetLeaf(kMdLevel, "4")}).txid(), 2U);
  EXPECT_TRUE(reader.IsSilent(agent_));
  provider.Send(ValueReply(parked, NumberOf(C_UINT64, 7)));
  EXPECT_EQ(reader.Receive().node().value(), "7");
}

TEST_F(ProviderRaceTest, AReadThatFindsNoRestGoesOnAndSaysSo) {
  ScriptedProvider provider(agent_);
  Client reader = Front("reader");
  Client front = Front();
  reader.SendGet(kLocal0);
  int commits = 0;
  provider.ServeUntil(reader, [&](const pb::ProviderRequest& request) {
    if (request.get_elem().callpoint() == "level") {
      // Each beginning is met by a commit.
      front.SendEdit({SetLeaf(kMdLevel, std::to_string(commits++ % 2 + 4))});
      Front("witness").Status();
    }
    return PlainReply(request);
  });
  const pb::Reply reply = reader.Receive();
  EXPECT_EQ(commits, 4);
  EXPECT_THAT(OnlyWarning(reply), HasSubstr("different commits"));
  EXPECT_EQ(LeavesOf(reply.node()).size(), 16U);
}

class ImpatientRaceTest : public ProviderRaceTest {
 protected:
  ImpatientRaceTest() : ProviderRaceTest({"--subscriber-timeout", "0.2"}) {}
};

TEST_F(ImpatientRaceTest, ACommitThatWaitsTooLongIsRefusedAndNamesTheProvider) {
  ScriptedProvider provider(agent_);
  Client reader = Front("reader");
  reader.SendGet(kLevel0);
  provider.Begin();
  const pb::ProviderRequest request = provider.Next();
  const pb::Reply reply = Front().Edit({SetLeaf(kMdLevel, "4")});
  EXPECT_THAT(OnlyError(reply), AllOf(HasSubstr("a read that waits for data provider cfm-app"),
                                      HasSubstr("nothing was changed")));
  provider.Send(PlainReply(request));
  EXPECT_EQ(reader.Receive().node().value(), "1");
  EXPECT_EQ(Front().Edit({SetLeaf(kMdLevel, "4")}).txid(), 2U);
}

TEST_F(ProviderRaceTest, ALostProviderLetsTheCommitGo) {
  ScriptedProvider provider(agent_);
  Client reader = Front("reader");
  reader.SendGet(kLevel0);
  provider.Begin();
  provider.Next();
  Client front = Front();
  front.SendEdit({SetLeaf(kMdLevel, "4")});
  EXPECT_TRUE(Front("witness").Status().commit_in_progress());
  provider.HangWorker();
  EXPECT_EQ(front.Receive().txid(), 2U);
  EXPECT_THAT(OnlyWarning(reader.Receive()), HasSubstr("is gone"));
}

TEST_F(ProviderRaceTest, AFrontEndThatGoesAwayGivesItsReadUp) {
  ScriptedProvider provider(agent_);
  std::optional<Client> reader(Front("reader"));
  reader->SendGet(kLocal0);
  const std::uint32_t thandle = provider.Begin();
  const pb::ProviderRequest request = provider.Next();
  reader.reset();
  Client other = Front("other");
  other.SendGet(kLevel0);
  provider.Begin();
  // The transaction ends when the provider has answered, and not before.
  provider.Send(PlainReply(request));
  EXPECT_TRUE(provider.Control().IsSilent(agent_));
  provider.AnswerLeft();
  EXPECT_EQ(provider.AwaitFinish(), thandle);
  EXPECT_THAT(provider.ServeUntil(other), ElementsAre("level of local 0"));
  EXPECT_EQ(other.Receive().node().value(), "1");
}

TEST_F(ProviderRaceTest, AFrontEndThatGoesAwayGivesADelayedReadUp) {
  ScriptedProvider provider(agent_);
  std::optional<Client> reader(Front("reader"));
  reader->SendGet(kSent0);
  const std::uint32_t thandle = provider.Begin();
  const pb::ProviderRequest parked = provider.Next();
  provider.Send(ResultReply(parked, pb::ProviderReply::DELAYED));
  reader.reset();
  EXPECT_EQ(provider.AwaitFinish(), thandle);
  provider.Send(ValueReply(parked, NumberOf(C_UINT64, 7)));
  Client other = Front("other");
  other.SendGet(kLevel0);
  provider.ServeUntil(other);
  EXPECT_EQ(other.Receive().node().value(), "1");
}

TEST_F(ProviderRaceTest, FrontEndAndProviderGoAwayTogether) {
  Client witness = Front("witness");
  for (const bool provider_first : {true, false}) {
    std::optional<ScriptedProvider> provider(agent_);
    std::optional<Client> reader(Front("reader"));
    reader->SendGet(kSent0);
    provider->Begin();
    provider->Send(ResultReply(provider->Next(), pb::ProviderReply::DELAYED));
    std::optional<Client> second(Front("second"));
    second->SendGet(kLevel0);
    provider->Begin();
    provider->Next();
    std::optional<Client> third(Front("third"));
    third->SendGet(kLevel0);
    provider->Begin();
    if (provider_first) {
      provider.reset();
    }
    reader.reset();
    second.reset();
    third.reset();
    provider.reset();
    EXPECT_THAT(OnlyWarning(witness.Get(kLevel0)), HasSubstr("is gone"));
  }
}

TEST_F(ProviderRaceTest, TraversalsOfTwoReadsDoNotMix) {
  ScriptedProvider provider(agent_);
  writer_.Put("local", 3, LocalMep("east", "blue", 5));
  Client first = Front("first");
  first.SendGet(std::string(kLocal0) + "/vlan-list");
  provider.Begin();
  const pb::ProviderRequest begun = provider.Next();
  Client second = Front("second");
  second.SendGet("/status/oam/cfm/local[id='3']/vlan-list");
  provider.Begin();
  Client third = Front("third");
  third.SendGet(kLevel0);
  provider.Begin();
  provider.Send(PlainReply(begun));
  std::vector<std::string> asked = {Describe(begun)};
  for (Client* client : {&first, &second}) {
    const auto more = provider.ServeUntil(*client);
    asked.insert(asked.end(), more.begin(), more.end());
    EXPECT_EQ(client->Receive().node().children_size(), 2);
  }
  EXPECT_EQ(third.Receive().node().value(), "1");
  std::erase(asked, "level of local 0");
  EXPECT_THAT(asked, ElementsAre("vlan-list of local 0 from -1", "vlan-list of local 0 from 1",
                                 "vlan-list of local 0 from 2", "vlan-list of local 3 from -1",
                                 "vlan-list of local 3 from 1", "vlan-list of local 3 from 2"));
}

TEST_F(ProviderRaceTest, ATraversalThatEndsEarlyLetsTheNextOneBegin) {
  ScriptedProvider provider(agent_);
  std::optional<Client> first(Front("first"));
  first->SendGet(std::string(kLocal0) + "/vlan-list");
  provider.Begin();
  const pb::ProviderRequest begun = provider.Next();
  Client second = Front("second");
  second.SendGet(std::string(kLocal0) + "/vlan-list");
  provider.Begin();
  first.reset();
  provider.Send(PlainReply(begun));
  provider.ServeUntil(second);
  EXPECT_EQ(second.Receive().node().children_size(), 2);
}

// As many records as the element has, half of them with something to ask.
TEST_F(ProviderRaceTest, EightThousandRecordsAreReadWhileSomeAreDeleted) {
  constexpr int kRecords = 8192;
  ScriptedProvider provider(agent_);
  for (int key = 2; key < kRecords; ++key) {
    writer_.Put("remote", key, RemoteMep("east", "blue", key % 2 == 0 ? 101 : 102));
  }
  Client front = Front();
  front.SendGet("/status/oam/cfm/remote");
  int served = 0;
  const auto asked = provider.ServeUntil(front, [&](const pb::ProviderRequest& request) {
    if (++served == 1000) {
      EXPECT_EQ(writer_.Delete(EntryPath("remote", 8000)).errors_size(), 0);
    }
    return PlainReply(request);
  });
  EXPECT_EQ(asked.size(), 2U * 4096 - 2);  // remote 1, and the even ones but 8000
  const pb::Reply reply = front.Receive();
  EXPECT_EQ(reply.errors_size(), 0);
  EXPECT_EQ(reply.node().children_size(), kRecords - 2);
  EXPECT_EQ(OnlyWarning(reply), "1 entry went away during the read");
  for (const pb::Node& entry : reply.node().children()) {
    const auto leaves = LeavesOf(entry);
    EXPECT_EQ(leaves.contains("last-state-change"), leaves.at("remote-mep") != "102");
  }
}

}  // namespace
}  // namespace agentd::test
