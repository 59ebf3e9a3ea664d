// Reads of computed leaves and operations, and what goes wrong with them, with
// agentd as a process and providers that do what the test says.
#include "provider_fixture.h"

namespace agentd::test {
namespace {

using ::testing::AllOf;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::Pair;

const std::string kLevel0 = std::string(kLocal0) + "/level";
constexpr const char* kLevelLeftOut = ": left out level of 1 entry";
const std::string kSent0 = std::string(kLocal0) + "/mep-ccms-sent";

TEST_F(ProviderTest, AnEntryShowsWhatIsWrittenAndWhatIsComputed) {
  ScriptedProvider provider(agent_);
  Client front = Front();
  front.SendGet(kLocal0);
  const auto asked = provider.ServeUntil(front);
  EXPECT_THAT(
      asked,
      ElementsAre("level of local 0", "ccm-interval of local 0", "primary-vlan-id of local 0",
                  "direction of local 0", "interface of local 0", "fault-alarm-time of local 0",
                  "fault-reset-time of local 0", "vlan-list of local 0 from -1",
                  "vlan-list of local 0 from 1", "vlan-list of local 0 from 2",
                  "remote-mep-ids of local 0 from -1", "remote-mep-ids of local 0 from 1",
                  "remote-mep-ids of local 0 from 2", "mep-ccms-sent of local 0",
                  "mep-ccms-received of local 0", "mep-ccm-sequence-errors of local 0"));
  const pb::Reply reply = front.Receive();
  EXPECT_EQ(reply.errors_size(), 0);
  EXPECT_EQ(reply.warnings_size(), 0);
  EXPECT_EQ(reply.node().kind(), pb::Node::LIST_ENTRY);
  const auto leaves = LeavesOf(reply.node());
  EXPECT_EQ(leaves.size(), 16U);
  EXPECT_THAT(leaves,
              AllOf(Contains(Pair("id", "0")), Contains(Pair("md", "east")),
                    Contains(Pair("level", "1")), Contains(Pair("direction", "down")),
                    Contains(Pair("vlan-list", "10,20")), Contains(Pair("mep-ccms-sent", "1"))));
}

TEST_F(ProviderTest, AskedAreOnlyTheLeavesThatAreRead) {
  ScriptedProvider provider(agent_);
  Client front = Front();
  front.SendGet(kLevel0);
  EXPECT_THAT(provider.ServeUntil(front), ElementsAre("level of local 0"));
  const pb::Reply reply = front.Receive();
  EXPECT_EQ(reply.node().name(), "level");
  EXPECT_EQ(reply.node().value(), "1");
  front.SendGet(std::string(kLocal0) + "/md");
  EXPECT_THAT(provider.ServeUntil(front), IsEmpty());
  EXPECT_EQ(front.Receive().node().value(), "east");
}

// What is read of all MEPs of which one of the leaves has the value.
pb::Request Narrowed(const std::vector<std::string>& leaves,
                     const std::vector<std::pair<std::vector<std::string>, std::string>>& filters) {
  pb::Request request;
  pb::Get& get = *request.mutable_get();
  get.set_datastore(pb::DATASTORE_OPERATIONAL);
  get.set_path("/status/oam/cfm");
  get.set_format(pb::FORMAT_TREE);
  get.mutable_leaves()->Add(leaves.begin(), leaves.end());
  for (const auto& [names, value] : filters) {
    pb::EntryFilter& filter = *get.add_filters();
    filter.mutable_leaves()->Add(names.begin(), names.end());
    filter.set_value(value);
  }
  return request;
}

TEST_F(ProviderTest, AReadForSomeLeavesAsksForNoOther) {
  ScriptedProvider provider(agent_);
  Client front = Front();
  front.Send(Narrowed({"md", "level", "last-state-change"}, {}));
  EXPECT_THAT(provider.ServeUntil(front),
              ElementsAre("level of local 0", "last-state-change of remote 1"));
  const pb::Reply reply = front.Receive();
  ASSERT_EQ(reply.node().children_size(), 2);
  EXPECT_THAT(LeavesOf(reply.node().children(0)),
              ElementsAre(Pair("id", "0"), Pair("level", "1"), Pair("md", "east")));
  EXPECT_THAT(LeavesOf(reply.node().children(1)),
              ElementsAre(Pair("id", "1"), Pair("last-state-change", "text"), Pair("md", "east")));
}

TEST_F(ProviderTest, EntriesThatPassNotEveryFilterAreNotRead) {
  ScriptedProvider provider(agent_);
  writer_.Put("local", 2, LocalMep("east", "blue", 6));
  writer_.Put("local", 3, LocalMep("west", "blue", 5));
  Client front = Front();
  front.Send(Narrowed({"level"}, {{{"md"}, "east"}, {{"mep", "remote-mep"}, "5"}}));
  EXPECT_THAT(provider.ServeUntil(front), ElementsAre("level of local 0"));
  EXPECT_EQ(front.Receive().node().children_size(), 1);
  front.Send(Narrowed({"level"}, {{{"md"}, "east"}, {{"mep", "remote-mep"}, "100"}}));
  EXPECT_THAT(provider.ServeUntil(front), IsEmpty());
  const pb::Reply remote = front.Receive();
  ASSERT_EQ(remote.node().children_size(), 1);
  EXPECT_EQ(remote.node().children(0).name(), "remote");
  front.Send(Narrowed({}, {{{"md"}, "north"}}));
  EXPECT_THAT(provider.ServeUntil(front), IsEmpty());
  EXPECT_EQ(front.Receive().node().children_size(), 0);
}

TEST_F(ProviderTest, LeavesAndFiltersThatTheModelDoesNotHaveAreRefused) {
  Client front = Front();
  EXPECT_THAT(OnlyError(front.Call(Narrowed({"colour"}, {}))), HasSubstr("'colour'"));
  EXPECT_THAT(OnlyError(front.Call(Narrowed({}, {{{"colour"}, "red"}}))), HasSubstr("'colour'"));
  EXPECT_THAT(OnlyError(front.Call(Narrowed({}, {{{"level"}, "3"}}))), HasSubstr("computed"));
  EXPECT_THAT(OnlyError(front.Call(Narrowed({}, {{{}, "3"}}))), HasSubstr("no leaf"));
  pb::Request running = Narrowed({"level"}, {});
  running.mutable_get()->set_datastore(pb::DATASTORE_RUNNING);
  running.mutable_get()->clear_path();
  EXPECT_THAT(OnlyError(front.Call(running)), HasSubstr("operational datastore"));
}

TEST_F(ProviderTest, ListsAndEverythingComeInEveryFormat) {
  ScriptedProvider provider(agent_);
  Client front = Front();
  for (const char* path : {"", "/status", "/status/oam/cfm/local"}) {
    front.SendGet(path, pb::FORMAT_XML);
    provider.ServeUntil(front);
    const std::string xml = front.Receive().document();
    EXPECT_THAT(xml, AllOf(HasSubstr("<status xmlns=\"urn:element:yang:cfm\">"),
                           HasSubstr("<level>1</level>"), HasSubstr("<vlan-list>20</vlan-list>")));
    EXPECT_EQ(xml.find("<remote>") == std::string::npos, std::string(path).ends_with("local"));
    front.SendGet(path, pb::FORMAT_JSON);
    provider.ServeUntil(front);
    EXPECT_THAT(front.Receive().document(), HasSubstr("\"mep-ccms-sent\": \"1\""));
  }
}

TEST_F(ProviderTest, OneTransactionHoldsAReadTogether) {
  ScriptedProvider provider(agent_);
  Client front = Front();
  front.SendGet(kRemote1);
  const std::uint32_t thandle = provider.Begin();
  const pb::ProviderRequest request = provider.Next();
  EXPECT_EQ(request.get_elem().thandle(), thandle);
  EXPECT_EQ(request.get_elem().callpoint(), "last-state-change");
  provider.Send(PlainReply(request));
  const pb::ProviderRequest second = provider.Next();
  EXPECT_EQ(second.get_elem().thandle(), thandle);
  EXPECT_TRUE(provider.Worker().IsSilent(agent_));  // one at a time
  provider.Send(PlainReply(second));
  EXPECT_EQ(front.Receive().errors_size(), 0);
  EXPECT_EQ(provider.AwaitFinish(), thandle);
}

TEST_F(ProviderTest, KeypathsAreWholeAndBeginAtTheLeaf) {
  ScriptedProvider provider(agent_);
  Client front = Front();
  front.SendGet(kLevel0);
  provider.Begin();
  const pb::Keypath path = provider.Next().get_elem().keypath();
  ASSERT_EQ(path.elements_size(), 6);
  EXPECT_EQ(path.elements(0).tag(), 0x7dec02bdU);
  EXPECT_EQ(path.elements(1).keys(0).type(), C_INT64);
  EXPECT_EQ(path.elements(2).tag(), 0x7ef235bfU);
  EXPECT_EQ(path.elements(5).tag(), HashOfName("status"));
}

TEST_F(ProviderTest, LeavesOfWhatIsNotConfiguredAreNotAsked) {
  ScriptedProvider provider(agent_);
  writer_.Put("local", 7, LocalMep("east", "blue", 6));
  writer_.Put("local", 8, LocalMep("' or '1'='1", "\"]", 5));
  writer_.Put("remote", 9, {});
  Client front = Front();
  front.SendGet("/status");
  const auto asked = provider.ServeUntil(front);
  EXPECT_EQ(asked.size(), 18U);
  for (const std::string& each : asked) {
    EXPECT_THAT(each, Not(::testing::ContainsRegex(" [789]( |$)")));
  }
  const pb::Reply reply = front.Receive();
  EXPECT_EQ(reply.warnings_size(), 0);
  front.SendGet("/status/oam/cfm/local[id='8']");
  EXPECT_THAT(provider.ServeUntil(front), IsEmpty());
  EXPECT_THAT(LeavesOf(front.Receive().node()), Contains(Pair("md", "' or '1'='1")));
}

TEST_F(ProviderTest, PathsThatLeadNowhereAreRefused) {
  Client front = Front();
  const pb::Reply missing = front.Get("/status/oam/cfm/local[id='99']/level");
  EXPECT_EQ(OnlyError(missing), "there is no such entry");
  EXPECT_EQ(missing.errors(0).rule(), "data-missing");
  EXPECT_THAT(OnlyError(front.Get("/config/oam")), HasSubstr("running datastore"));
  EXPECT_THAT(OnlyError(front.Get("/status/nowhere")), HasSubstr("nowhere"));
}

TEST_F(ProviderTest, AListWithoutEntriesIsEmpty) {
  writer_.Delete(EntryPath("local", 0));
  const pb::Reply reply = Front().Get("/status/oam/cfm/local");
  EXPECT_EQ(reply.errors_size(), 0);
  EXPECT_EQ(reply.node().children_size(), 0);
}

TEST_F(ProviderTest, ALeafWithoutValueIsLeftOutWithoutAWord) {
  ScriptedProvider provider(agent_);
  Client front = Front();
  front.SendGet(kRemote1);
  provider.ServeUntil(front, [](const auto& request) {
    return ResultReply(request, pb::ProviderReply::NOT_FOUND);
  });
  const pb::Reply reply = front.Receive();
  EXPECT_EQ(reply.warnings_size(), 0);
  EXPECT_THAT(LeavesOf(reply.node()), Not(Contains(Pair("last-state-change", ::testing::_))));
}

TEST_F(ProviderTest, AnErrorIsAWarningWithItsText) {
  ScriptedProvider provider(agent_);
  Client front = Front();
  front.SendGet(kLocal0);
  provider.ServeUntil(front, [](const auto& request) {
    return request.get_elem().callpoint() == "level" || request.has_get_next()
               ? ResultReply(request, pb::ProviderReply::ERROR, "out of order\n")
               : PlainReply(request);
  });
  const pb::Reply reply = front.Receive();
  EXPECT_EQ(reply.errors_size(), 0);
  EXPECT_THAT(OnlyWarning(reply),
              AllOf(HasSubstr("cfm-app"), HasSubstr("out of order"),
                    HasSubstr(": left out level, vlan-list, remote-mep-ids of 1 entry")));
  EXPECT_THAT(LeavesOf(reply.node()), Contains(Pair("interface", "text")));
}

TEST_F(ProviderTest, AValueThatTheModelForbidsIsAWarning) {
  ScriptedProvider provider(agent_);
  Client front = Front();
  pb::Value of_no_type = NumberOf(C_INT32, 1);
  of_no_type.set_type(36);  // more than a confd_vtype can hold
  for (const pb::Value& value :
       {NumberOf(C_INT32, 8), NumberOf(C_INT64, 1), TextOf("1"), pb::Value(), of_no_type}) {
    front.SendGet(kLevel0);
    provider.ServeUntil(front, [&](const auto& request) { return ValueReply(request, value); });
    EXPECT_THAT(OnlyWarning(front.Receive()),
                AllOf(HasSubstr("forbids"), HasSubstr("'level'"), HasSubstr(kLevelLeftOut)));
  }
}

TEST_F(ProviderTest, ATraversalThatFindsNoEndIsStopped) {
  ScriptedProvider provider(agent_);
  Client front = Front();
  front.SendGet(std::string(kLocal0) + "/vlan-list");
  provider.ServeUntil(
      front, [](const auto& request) { return KeyReply(request, NumberOf(C_INT32, 1), 0); });
  EXPECT_THAT(OnlyWarning(front.Receive()), HasSubstr("finds no end"));
}

TEST_F(ProviderTest, ARefusedTransactionIsAWarning) {
  ScriptedProvider provider(agent_);
  Client front = Front();
  front.SendGet(kLevel0);
  pb::Request message;
  *message.mutable_provider_reply() = ResultReply(provider.Control().ReceiveProviderRequest(),
                                                  pb::ProviderReply::ERROR, "no worker");
  provider.Control().Send(message);
  EXPECT_THAT(OnlyWarning(front.Receive()), AllOf(HasSubstr("refused"), HasSubstr("no worker")));
}

TEST_F(ProviderTest, WithoutAProviderTheLeavesAreNamedAtOnce) {
  const pb::Reply reply = Front().Get(kRemote1);
  EXPECT_EQ(reply.errors_size(), 0);
  EXPECT_THAT(OnlyWarning(reply),
              AllOf(HasSubstr("no data provider has registered for the callpoints ccm-interval, "),
                    EndsWith(": left out last-state-change, rmep-ccms-received of 1 entry")));
  EXPECT_THAT(LeavesOf(reply.node()), Contains(Pair("remote-mep", "100")));
}

TEST_F(ProviderTest, ADelayedReplyIsAwaitedWhileOthersAreAsked) {
  ScriptedProvider provider(agent_);
  Client front = Front();
  front.SendGet(kLocal0);
  // The first counter is parked. The other two of the callpoint are asked when
  // it has been answered, all other leaves meanwhile.
  provider.Begin();
  for (int i = 0; i < 13; ++i) {
    const pb::ProviderRequest request = provider.Next();
    provider.Send(PlainReply(request));
  }
  const pb::ProviderRequest parked = provider.Next();
  EXPECT_EQ(Describe(parked), "mep-ccms-sent of local 0");
  provider.Send(ResultReply(parked, pb::ProviderReply::DELAYED));
  Client other = Front("other");
  other.SendGet(kLevel0);
  provider.ServeUntil(other);  // a read that came later is not held up
  other.Receive();
  EXPECT_TRUE(front.IsSilent(agent_));
  provider.Send(ValueReply(parked, NumberOf(C_UINT64, -1)));
  EXPECT_THAT(provider.ServeUntil(front),
              ElementsAre("mep-ccms-received of local 0", "mep-ccm-sequence-errors of local 0"));
  const pb::Reply reply = front.Receive();
  EXPECT_EQ(reply.warnings_size(), 0);
  EXPECT_THAT(LeavesOf(reply.node()), Contains(Pair("mep-ccms-sent", "18446744073709551615")));
}

class ImpatientProviderTest : public ProviderTest {
 protected:
  ImpatientProviderTest() : ProviderTest({"--provider-timeout", "0.2"}) {}
};

TEST_F(ImpatientProviderTest, ADelayedReplyThatDoesNotComeIsGivenUp) {
  ScriptedProvider provider(agent_);
  Client front = Front();
  front.SendGet(kLocal0);
  std::optional<pb::ProviderRequest> parked;
  const auto asked = provider.ServeUntil(front, [&](const auto& request) {
    if (request.get_elem().callpoint() != "statistics") {
      return PlainReply(request);
    }
    parked = request;
    return ResultReply(request, pb::ProviderReply::DELAYED);
  });
  EXPECT_EQ(asked.size(), 14U);  // of the counters only the first
  const pb::Reply reply = front.Receive();
  EXPECT_EQ(reply.errors_size(), 0);
  EXPECT_THAT(OnlyWarning(reply), AllOf(HasSubstr("did not answer in time"),
                                        HasSubstr("left out mep-ccms-sent, mep-ccms-received, "
                                                  "mep-ccm-sequence-errors of 1 entry")));
  EXPECT_THAT(LeavesOf(reply.node()), Contains(Pair("level", "1")));
  // Late, and to nobody; the provider is as good as before.
  provider.Send(ValueReply(*parked, NumberOf(C_UINT64, 1)));
  front.SendGet(kLevel0);
  provider.ServeUntil(front);
  EXPECT_EQ(front.Receive().node().value(), "1");
}

TEST_F(ImpatientProviderTest, AProviderThatHangsIsDisconnected) {
  ScriptedProvider provider(agent_);
  Client front = Front();
  front.SendGet(kLevel0);
  provider.Begin();
  provider.Next();
  EXPECT_THAT(
      OnlyWarning(front.Receive()),
      AllOf(HasSubstr("cfm-app"), HasSubstr("did not answer in time"), HasSubstr(kLevelLeftOut)));
  EXPECT_TRUE(provider.Worker().IsClosed());
  EXPECT_THAT(OnlyWarning(front.Get(kLevel0)), HasSubstr("is gone"));
}

TEST_F(ImpatientProviderTest, AProviderThatDoesNotBeginIsDisconnected) {
  ScriptedProvider provider(agent_);
  Client front = Front();
  front.SendGet(kLevel0);
  EXPECT_THAT(OnlyWarning(front.Receive()), HasSubstr("is gone"));
}

TEST_F(ProviderTest, ReadsOfALostProviderEndAtOnce) {
  ScriptedProvider provider(agent_);
  Client asked = Front("asked");
  asked.SendGet(kSent0);
  provider.Begin();
  const pb::ProviderRequest parked = provider.Next();
  provider.Send(ResultReply(parked, pb::ProviderReply::DELAYED));
  Client inside = Front("inside");
  inside.SendGet(kLevel0);
  provider.Begin();
  provider.Next();
  Client waiting = Front("waiting");
  waiting.SendGet(kRemote1);
  provider.Begin();
  provider.HangWorker();
  EXPECT_THAT(OnlyWarning(asked.Receive()),
              AllOf(HasSubstr("is gone"), HasSubstr("left out mep-ccms-sent of 1 entry")));
  EXPECT_THAT(OnlyWarning(inside.Receive()), AllOf(HasSubstr("is gone"), HasSubstr(kLevelLeftOut)));
  EXPECT_THAT(
      OnlyWarning(waiting.Receive()),
      AllOf(HasSubstr("is gone"), HasSubstr("last-state-change"), HasSubstr("rmep-ccms-received")));
  EXPECT_TRUE(provider.Control().IsClosed());
}

TEST_F(ProviderTest, AnotherProviderTakesThePlaceOfALostOne) {
  {
    ScriptedProvider first(agent_, "first");
    Client front = Front();
    front.SendGet(kLevel0);
    first.ServeUntil(front);
    EXPECT_EQ(front.Receive().node().value(), "1");
  }
  Client front = Front();
  EXPECT_THAT(OnlyWarning(front.Get(kLevel0)),
              AllOf(HasSubstr("data provider first"), HasSubstr("is gone")));
  ScriptedProvider second(agent_, "second");
  front.SendGet(kLevel0);
  second.ServeUntil(front);
  EXPECT_EQ(front.Receive().node().value(), "1");
  EXPECT_EQ(front.Status().providers_size(), 1);
}

TEST_F(ProviderTest, ALivingProviderKeepsItsPoints) {
  ScriptedProvider first(agent_, "first");
  ScriptedProvider second(agent_, "second", false);
  const pb::Reply taken = second.Register({"level"});
  EXPECT_THAT(OnlyError(taken),
              AllOf(HasSubstr("'level'"), HasSubstr("first (process"), HasSubstr("alive")));
  EXPECT_EQ(taken.errors(0).code(), CONFD_ERR_INUSE);
  EXPECT_THAT(OnlyError(second.Register({}, {"clear_cfm_statistics"})), HasSubstr("first"));
}

TEST_F(ProviderTest, PointsThatTheModelDoesNotHaveAreRefused) {
  ScriptedProvider provider(agent_, "odd", false);
  const pb::Reply reply = provider.Register({"level", "lovel"});
  EXPECT_THAT(OnlyError(reply), HasSubstr("no callpoint 'lovel'"));
  EXPECT_EQ(reply.errors(0).code(), CONFD_ERR_BADPATH);
  EXPECT_THAT(OnlyError(provider.Register({"level"}, {"level"})), HasSubstr("action point"));
  EXPECT_EQ(Front().Status().providers_size(), 0);
}

TEST_F(ProviderTest, TheStatusShowsLivingAndLostProviders) {
  Client watcher = Front("watcher");
  pb::Request watch;
  watch.mutable_watch_status();
  EXPECT_EQ(watcher.Call(watch).status().providers_size(), 0);
  {
    ScriptedProvider provider(agent_, "cfm-app", false);
    provider.Register({"level", "direction"}, {"clear_cfm_statistics"});
    const pb::Status status = watcher.Receive().status();
    ASSERT_EQ(status.providers_size(), 1);
    EXPECT_EQ(status.providers(0).name(), "cfm-app");
    EXPECT_EQ(status.providers(0).pid(), getpid());
    EXPECT_FALSE(status.providers(0).lost());
    EXPECT_THAT(status.providers(0).callpoints(), ElementsAre("direction", "level"));
    EXPECT_THAT(status.providers(0).actionpoints(), ElementsAre("clear_cfm_statistics"));
  }
  const pb::Status status = watcher.Receive().status();
  ASSERT_EQ(status.providers_size(), 1);
  EXPECT_TRUE(status.providers(0).lost());
}

pb::Request ClearOf(const std::string& parameter, const std::string& value) {
  pb::Request request;
  request.mutable_invoke()->set_operation("clear-statistics");
  if (!parameter.empty()) {
    auto& each = *request.mutable_invoke()->add_parameters();
    each.set_name(parameter);
    each.set_value(value);
  }
  return request;
}

TEST_F(ProviderTest, AnOperationIsPerformedByItsProvider) {
  ScriptedProvider provider(agent_);
  Client front = Front();
  front.Send(ClearOf("mep", "5"));
  const pb::ProviderRequest request = provider.Next();
  ASSERT_TRUE(request.has_action());
  EXPECT_EQ(request.action().actionpoint(), "clear_cfm_statistics");
  EXPECT_NE(request.action().user(), "");
  EXPECT_EQ(request.action().parameters(0).value().number(), 5);
  EXPECT_TRUE(front.IsSilent(agent_));
  provider.Send(ResultReply(request, pb::ProviderReply::OK));
  EXPECT_EQ(front.Receive().errors_size(), 0);
}

TEST_F(ProviderTest, AnOperationThatFailsSaysWhy) {
  Client front = Front();
  EXPECT_THAT(OnlyError(front.Call(ClearOf("", ""))),
              HasSubstr("no data provider has registered the action point"));
  EXPECT_THAT(front.Call(ClearOf("mep", "x")).errors(0).path(), "/clear-statistics/mep");
  ScriptedProvider provider(agent_);
  front.Send(ClearOf("", ""));
  const pb::ProviderRequest request = provider.Next();
  provider.Send(ResultReply(request, pb::ProviderReply::ERROR, "no manager"));
  EXPECT_THAT(OnlyError(front.Receive()), HasSubstr("no manager"));
  front.Send(ClearOf("", ""));
  provider.Next();
  provider.HangControl();
  EXPECT_THAT(OnlyError(front.Receive()), HasSubstr("is gone"));
  EXPECT_THAT(OnlyError(front.Call(ClearOf("", ""))), HasSubstr("is gone"));
}

TEST_F(ProviderTest, ConnectionsThatDoNotBelongAreRefused) {
  Client stray(agent_, 77, "stray");
  EXPECT_THAT(stray.Welcome().error(), HasSubstr("no data provider 77"));
  ScriptedProvider provider(agent_);
  Client second(agent_, provider.Control().Welcome().provider(), "second");
  EXPECT_THAT(second.Welcome().error(), HasSubstr("has a worker connection already"));
}

TEST_F(ProviderTest, AReplyToNothingEndsTheProvider) {
  ScriptedProvider provider(agent_);
  pb::ProviderReply reply;
  reply.set_id(1000);
  provider.Send(reply);
  EXPECT_TRUE(provider.Worker().IsClosed());
  EXPECT_TRUE(provider.Control().IsClosed());
  EXPECT_THAT(OnlyWarning(Front().Get(kLevel0)), HasSubstr("is gone"));
}

}  // namespace
}  // namespace agentd::test
