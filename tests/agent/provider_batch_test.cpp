// Reads that the agent asks together, and what comes back of them.
#include "provider_fixture.h"

namespace agentd::test {
namespace {

using ::testing::AllOf;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::Pair;

const std::string kLevel0 = std::string(kLocal0) + "/level";
const std::string kVlans0 = std::string(kLocal0) + "/vlan-list";
const std::string kMdLevel = std::string(kEast) + "/level";

class ProviderBatchTest : public ProviderTest {
 protected:
  using ProviderTest::ProviderTest;

  // The requests of the next batch, in words.
  static std::vector<std::string> TakeBatch(ScriptedProvider& provider,
                                            std::vector<pb::ProviderRequest>& requests) {
    provider.NextBatch();
    std::vector<std::string> words;
    requests.clear();
    while (!provider.Left().empty()) {
      requests.push_back(provider.Next());
      words.push_back(Describe(requests.back()));
    }
    return words;
  }
  static pb::ProviderReply Unasked(const pb::ProviderRequest& request) {
    return ResultReply(request, pb::ProviderReply::UNASKED);
  }
  // What a library answers: all elements of a walk at once.
  static pb::ProviderReply WholeReply(const pb::ProviderRequest& request) {
    pb::ProviderReply reply = PlainReply(request);
    if (request.has_get_next()) {
      *reply.add_keys() = NumberOf(C_INT32, 20);
      reply.set_next(-1);
    }
    return reply;
  }
  static std::vector<pb::ProviderReply> WholeReplies(
      const std::vector<pb::ProviderRequest>& requests) {
    std::vector<pb::ProviderReply> replies;
    for (const pb::ProviderRequest& request : requests) {
      replies.push_back(WholeReply(request));
    }
    return replies;
  }
};

TEST_F(ProviderBatchTest, TheLeavesOfAnEntryTravelTogether) {
  ScriptedProvider provider(agent_);
  Client front = Front();
  front.SendGet(kLocal0);
  provider.Begin();
  const pb::ReadBatch batch = provider.NextBatch();
  ASSERT_EQ(batch.requests_size(), 12);
  EXPECT_EQ(batch.requests(0).get_elem().keypath().elements_size(), 6);
  EXPECT_EQ(batch.requests(0).get_elem().keypath().shared(), 0U);
  EXPECT_EQ(batch.requests(1).get_elem().keypath().elements_size(), 1);
  EXPECT_EQ(batch.requests(1).get_elem().keypath().shared(), 5U);
  EXPECT_GT(batch.requests(7).get_next().steps(), 1U);
  std::vector<pb::ProviderRequest> requests(batch.requests().begin(), batch.requests().end());
  provider.SendTogether({WholeReply(provider.Next())});
  EXPECT_TRUE(front.IsSilent(agent_));
  std::vector<pb::ProviderReply> rest;
  while (!provider.Left().empty()) {
    rest.push_back(WholeReply(provider.Next()));
  }
  provider.SendTogether(rest);
  const pb::Reply reply = front.Receive();
  EXPECT_EQ(reply.warnings_size(), 0);
  EXPECT_THAT(LeavesOf(reply.node()),
              AllOf(Contains(Pair("level", "1")), Contains(Pair("vlan-list", "10,20")),
                    Contains(Pair("mep-ccm-sequence-errors", "1"))));
}

TEST_F(ProviderBatchTest, AnotherEntryOfTheListSharesTheWayToIt) {
  ScriptedProvider provider(agent_);
  writer_.Put("local", 3, LocalMep("east", "blue", 5));
  Client front = Front();
  front.SendGet("/status/oam/cfm/local");
  provider.Begin();
  const pb::ReadBatch batch = provider.NextBatch();
  ASSERT_EQ(batch.requests_size(), 24);
  const pb::Keypath& first_of_other = batch.requests(12).get_elem().keypath();
  EXPECT_EQ(first_of_other.elements_size(), 2);
  EXPECT_EQ(first_of_other.shared(), 4U);
  EXPECT_EQ(first_of_other.elements(1).keys(0).number(), 3);
}

TEST_F(ProviderBatchTest, IsOfModerateSizeAndTheNextGoesOnWhereItEnds) {
  ScriptedProvider provider(agent_);
  for (int key = 10; key < 50; ++key) {
    writer_.Put("remote", key, RemoteMep("east", "blue", 100));
  }
  Client front = Front();
  front.SendGet("/status/oam/cfm/remote");
  provider.Begin();
  std::vector<pb::ProviderRequest> requests;
  std::vector<std::string> asked = TakeBatch(provider, requests);
  EXPECT_EQ(asked.size(), 64U);
  EXPECT_TRUE(provider.IsIdle(agent_));
  provider.SendTogether(WholeReplies(requests));
  const auto more = TakeBatch(provider, requests);
  provider.SendTogether(WholeReplies(requests));
  asked.insert(asked.end(), more.begin(), more.end());
  std::vector<std::string> expected;
  for (int key = 9; key < 50; ++key) {
    const std::string entry = " of remote " + std::to_string(key == 9 ? 1 : key);
    expected.push_back("last-state-change" + entry);
    expected.push_back("rmep-ccms-received" + entry);
  }
  EXPECT_THAT(asked, ElementsAreArray(expected));
  EXPECT_EQ(front.Receive().node().children_size(), 41);
}

TEST_F(ProviderBatchTest, WhatComesBackUnaskedIsAskedAgainInItsOrder) {
  ScriptedProvider provider(agent_);
  Client front = Front();
  front.SendGet(kLocal0);
  provider.Begin();
  std::vector<pb::ProviderRequest> requests;
  const auto asked = TakeBatch(provider, requests);
  std::vector<pb::ProviderReply> replies;
  for (const pb::ProviderRequest& request : requests) {
    replies.push_back(replies.size() < 2 ? WholeReply(request) : Unasked(request));
  }
  provider.SendTogether(replies);
  const auto again = TakeBatch(provider, requests);
  EXPECT_THAT(again, ElementsAreArray(asked.begin() + 2, asked.end()));
  provider.SendTogether(WholeReplies(requests));
  EXPECT_EQ(LeavesOf(front.Receive().node()).size(), 16U);
}

TEST_F(ProviderBatchTest, AProviderThatWorksNothingOfABatchIsDisconnected) {
  ScriptedProvider provider(agent_);
  Client front = Front();
  front.SendGet(kLocal0);
  provider.Begin();
  provider.SendTogether({Unasked(provider.Next())});
  EXPECT_THAT(OnlyWarning(front.Receive()), HasSubstr("is gone"));
  EXPECT_TRUE(provider.Worker().IsClosed());
}

// The counters of both entries wait for the first of them, and then go before
// whatever else is left.
TEST_F(ProviderBatchTest, WhatADelayHoldsBackKeepsItsOrder) {
  ScriptedProvider provider(agent_);
  writer_.Put("local", 3, LocalMep("east", "blue", 5));
  Client front = Front();
  front.SendGet("/status/oam/cfm/local");
  provider.Begin();
  std::vector<pb::ProviderRequest> requests;
  TakeBatch(provider, requests);
  ASSERT_EQ(Describe(requests[9]), "mep-ccms-sent of local 0");
  std::vector<pb::ProviderReply> replies;
  for (std::size_t i = 0; i < requests.size(); ++i) {
    replies.push_back(i < 9 ? WholeReply(requests[i]) : Unasked(requests[i]));
  }
  replies[9].set_result(pb::ProviderReply::DELAYED);
  provider.SendTogether(replies);
  const pb::ProviderRequest parked = requests[9];
  const auto meanwhile = TakeBatch(provider, requests);
  EXPECT_EQ(meanwhile.size(), 9U);
  EXPECT_THAT(meanwhile, Not(Contains(HasSubstr("mep-ccm"))));
  EXPECT_EQ(meanwhile.front(), "level of local 3");
  // The delayed reply comes before those of the batch in flight.
  provider.Send(WholeReply(parked));
  EXPECT_TRUE(provider.IsIdle(agent_));
  provider.SendTogether({WholeReply(requests[0]), Unasked(requests[1])});
  std::vector<pb::ProviderReply> rest;
  for (std::size_t i = 2; i < requests.size(); ++i) {
    rest.push_back(Unasked(requests[i]));
  }
  provider.SendTogether(rest);
  const auto then = TakeBatch(provider, requests);
  ASSERT_EQ(then.size(), 13U);
  EXPECT_THAT(std::vector<std::string>(then.begin(), then.begin() + 6),
              ElementsAre("mep-ccms-received of local 0", "mep-ccm-sequence-errors of local 0",
                          "mep-ccms-sent of local 3", "mep-ccms-received of local 3",
                          "mep-ccm-sequence-errors of local 3", "ccm-interval of local 3"));
  provider.SendTogether(WholeReplies(requests));
  EXPECT_EQ(front.Receive().warnings_size(), 0);
}

TEST_F(ProviderBatchTest, AWalkMayTakeAnyNumberOfReplies) {
  ScriptedProvider provider(agent_);
  Client front = Front();
  front.SendGet(kVlans0);
  provider.Begin();
  pb::ProviderRequest request = provider.Next();
  pb::ProviderReply some = KeyReply(request, NumberOf(C_INT32, 10), 2);
  *some.add_keys() = NumberOf(C_INT32, 20);
  provider.Send(some);
  request = provider.Next();
  EXPECT_EQ(Describe(request), "vlan-list of local 0 from 2");
  // The next step is delayed, with one behind it.
  pb::ProviderReply delayed = ResultReply(request, pb::ProviderReply::DELAYED);
  *delayed.add_keys() = NumberOf(C_INT32, 30);
  provider.Send(delayed);
  provider.Send(KeyReply(request, NumberOf(C_INT32, 40), 4));
  request = provider.Next();
  EXPECT_EQ(Describe(request), "vlan-list of local 0 from 4");
  provider.Send(ResultReply(request, pb::ProviderReply::NOT_FOUND));
  const pb::Reply reply = front.Receive();
  std::vector<std::string> vlans;
  for (const pb::Node& each : reply.node().children()) {
    vlans.push_back(each.value());
  }
  EXPECT_THAT(vlans, ElementsAre("10", "20", "30", "40"));
}

TEST_F(ProviderBatchTest, AnElementThatTheModelForbidsSpoilsItsWalkAlone) {
  ScriptedProvider provider(agent_);
  Client front = Front();
  front.SendGet(kLocal0);
  provider.Begin();
  std::vector<pb::ProviderRequest> requests;
  TakeBatch(provider, requests);
  auto replies = WholeReplies(requests);
  *replies[7].mutable_keys(1) = NumberOf(C_INT32, 5000);
  provider.SendTogether(replies);
  const pb::Reply reply = front.Receive();
  EXPECT_THAT(OnlyWarning(reply), AllOf(HasSubstr("forbids"), HasSubstr("left out vlan-list of")));
  EXPECT_THAT(LeavesOf(reply.node()), Contains(Pair("remote-mep-ids", "10,20")));
}

// Another read's batch ends before the walk that would mix with the one at hand.
TEST_F(ProviderBatchTest, AWalkThatGoesOnKeepsOthersFromItsCallpoint) {
  ScriptedProvider provider(agent_);
  Client first = Front("first");
  first.SendGet(kVlans0);
  provider.Begin();
  const pb::ProviderRequest begun = provider.Next();
  Client second = Front("second");
  second.SendGet(kLocal0);
  provider.Begin();
  Front("witness").Status();
  provider.Send(KeyReply(begun, NumberOf(C_INT32, 10), 1));
  std::vector<pb::ProviderRequest> requests;
  EXPECT_EQ(TakeBatch(provider, requests).size(), 7U);
  EXPECT_EQ(Describe(requests.back()), "fault-reset-time of local 0");
  provider.SendTogether(WholeReplies(requests));
  const pb::ProviderRequest next = provider.Next();
  EXPECT_EQ(Describe(next), "vlan-list of local 0 from 1");
  provider.Send(ResultReply(next, pb::ProviderReply::NOT_FOUND));
  EXPECT_EQ(first.Receive().node().children_size(), 1);
  TakeBatch(provider, requests);
  EXPECT_EQ(Describe(requests.front()), "vlan-list of local 0 from -1");
  provider.SendTogether(WholeReplies(requests));
  EXPECT_EQ(second.Receive().warnings_size(), 0);
}

TEST_F(ProviderBatchTest, OfDeletedEntriesIsWithdrawnAndHoldsNoCommitUp) {
  ScriptedProvider provider(agent_);
  Client reader = Front("reader");
  reader.SendGet("/status");
  provider.Begin();
  const pb::ReadBatch batch = provider.NextBatch();
  ASSERT_EQ(batch.requests_size(), 14);
  Client front = Front();
  front.SendEdit({SetLeaf(kMdLevel, "4")});
  EXPECT_TRUE(Front("witness").Status().commit_in_progress());
  EXPECT_EQ(writer_.Delete(EntryPath("local", 0)).withdrawn_size(), 12);
  EXPECT_TRUE(Front("witness").Status().commit_in_progress());
  const pb::Reply deleted = writer_.Delete(EntryPath("remote", 1));
  EXPECT_THAT(deleted.withdrawn(), ElementsAre(batch.requests(12).id(), batch.requests(13).id()));
  EXPECT_EQ(front.Receive().txid(), 2U);
  EXPECT_EQ(reader.Receive().errors_size(), 0);
}

TEST_F(ProviderBatchTest, WhatWasUnaskedOfADeletedEntryIsNotAskedAgain) {
  ScriptedProvider provider(agent_);
  Client front = Front();
  front.SendGet("/status");
  provider.Begin();
  std::vector<pb::ProviderRequest> requests;
  TakeBatch(provider, requests);
  provider.SendTogether({WholeReply(requests[0]), Unasked(requests[1])});
  Front("witness").Status();
  EXPECT_EQ(writer_.Delete(EntryPath("local", 0)).withdrawn_size(), 10);
  provider.SendTogether({Unasked(requests[12]), Unasked(requests[13])});
  EXPECT_THAT(TakeBatch(provider, requests),
              ElementsAre("last-state-change of remote 1", "rmep-ccms-received of remote 1"));
  provider.SendTogether(WholeReplies(requests));
  EXPECT_EQ(OnlyWarning(front.Receive()), "1 entry went away during the read");
}

class BatchConfigurationTest : public ProviderBatchTest {
 protected:
  // The batch that a read of the path begins with; answered, by a callpoint that
  // looks at the configuration or not.
  pb::ReadBatch Read(ScriptedProvider& provider, const std::string& path, bool reads) {
    front_.SendGet(path);
    if (has_read_) {
      provider.AwaitFinish();
    }
    has_read_ = true;
    provider.Begin();
    const pb::ReadBatch batch = provider.NextBatch();
    std::vector<pb::ProviderReply> replies;
    while (!provider.Left().empty()) {
      replies.push_back(WholeReply(provider.Next()));
      replies.back().set_reads_configuration(reads);
    }
    provider.SendTogether(replies);
    EXPECT_EQ(front_.Receive().warnings_size(), 0);
    return batch;
  }

  Client front_ = Front();
  bool has_read_ = false;
};

TEST_F(BatchConfigurationTest, ComesWithReadsThatHaveLookedAtIt) {
  ScriptedProvider provider(agent_);
  EXPECT_THAT(Read(provider, kLevel0, true).configuration(), IsEmpty());
  const pb::ReadBatch batch = Read(provider, kLevel0, true);
  ASSERT_EQ(batch.configuration_size(), 1);
  EXPECT_EQ(batch.configuration(0).name(), "config");
}

TEST_F(BatchConfigurationTest, DoesNotComeWithOthers) {
  ScriptedProvider provider(agent_);
  Read(provider, kLevel0, true);
  EXPECT_THAT(Read(provider, std::string(kLocal0) + "/direction", false).configuration(),
              IsEmpty());
  EXPECT_THAT(Read(provider, std::string(kLocal0) + "/direction", false).configuration(),
              IsEmpty());
}

TEST_F(BatchConfigurationTest, IsOfTheStateOnWhichTheReadWorks) {
  ScriptedProvider provider(agent_);
  Read(provider, kLevel0, true);
  EXPECT_EQ(Front("editor").Edit({SetLeaf(kMdLevel, "6")}).txid(), 2U);
  const pb::ReadBatch batch = Read(provider, kLevel0, true);
  ASSERT_EQ(batch.configuration_size(), 1);
  const pb::DataNode& cfm = batch.configuration(0).children(0).children(0);
  ASSERT_EQ(cfm.name(), "cfm");
  const auto& md = cfm.children(cfm.children_size() - 1);
  ASSERT_EQ(md.name(), "md");
  std::int64_t level = 0;
  for (const pb::DataNode& child : md.children()) {
    level = child.name() == "level" ? child.value().number() : level;
  }
  EXPECT_EQ(level, 6);
}

// Providers that come later are other programs.
TEST_F(BatchConfigurationTest, IsLearntAnewOfAnotherProvider) {
  {
    ScriptedProvider provider(agent_);
    Read(provider, kLevel0, true);
  }
  has_read_ = false;
  EXPECT_THAT(OnlyWarning(front_.Get(kLevel0)), HasSubstr("is gone"));
  ScriptedProvider other(agent_);
  EXPECT_THAT(Read(other, kLevel0, true).configuration(), IsEmpty());
}

}  // namespace
}  // namespace agentd::test
