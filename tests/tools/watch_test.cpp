#include <future>

#include "command_fixture.h"
#include "fakes.h"
#include "records.h"

namespace cfmctl {
namespace {

namespace agent = cfm::agent;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;

constexpr const char* kStamp = "[0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9]{2}:[0-9]{2}:[0-9]{2}[.][0-9]{3}Z ";

class Watch : public test::CommandTest {
 protected:
  // The running configuration has the MA blue with the local MEP 5 and the
  // remote MEPs 7 and 8.
  Watch() {
    agent_.SetStatus(test::StatusOf(1));
    agent_.on_request = [](const agent::Request& request) {
      EXPECT_EQ(request.get().datastore(), agent::DATASTORE_RUNNING);
      const TreeNode ma =
          test::Entry("ma", {test::Leaf("id", "blue"), test::Element("remote-meps", "7"),
                             test::Element("remote-meps", "8"), test::Mep5()});
      agent::Reply reply;
      *reply.mutable_node() = test::ToNode(
          test::Root(test::Container("cfm", {test::Entry("md", {test::Leaf("id", "east"), ma})})));
      return reply;
    };
  }

  // Runs the command in a thread; it watches when this returns.
  std::future<test::Outcome> Start(std::vector<std::string> words) {
    words.insert(words.begin(), {"watch", "--timeout", "60"});
    auto outcome = std::async(std::launch::async, [this, words] { return Run(words); });
    agent_.AwaitOperationalWatcher();
    return outcome;
  }

  void Local(const std::string& defects) {
    agent_.ChangeRecord(test::LocalPath(0), test::With(test::LocalRecord(), "defects", defects));
  }
  void Remote(int id, const std::string& state) {
    agent_.ChangeRecord(
        test::RemotePath(id),
        test::With(test::RemoteRecord(std::to_string(id), std::to_string(id)), "state", state));
  }

  test::FakeAgent agent_{Directory()};
};

TEST_F(Watch, PrintsEachChangeWithItsTime) {
  Remote(7, "rmep-start");
  auto watch = Start({"--count", "3"});
  Remote(7, "rmep-ok");
  Local("-");
  Local("R");
  const auto outcome = watch.get();
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.err, "watching every MEP, 1 with a status\n");
  const std::string stamp = kStamp;
  EXPECT_THAT(
      outcome.out,
      MatchesRegex(stamp +
                   "remote MEP 7 of md.east./ma.blue./mep.5.: state rmep-start -> rmep-ok\n" +
                   stamp + "local MEP md.east./ma.blue./mep.5. appeared, defects -\n" + stamp +
                   "local MEP md.east./ma.blue./mep.5.: defects - -> R .remote CCM.\n"));
}

TEST_F(Watch, ShowsOnlyWhatIsSelected) {
  Remote(7, "rmep-start");
  Remote(8, "rmep-start");
  auto watch = Start({"east", "blue", "8", "--count", "1"});
  Remote(7, "rmep-ok");
  Remote(8, "rmep-failed");
  const auto outcome = watch.get();
  EXPECT_EQ(outcome.err, "watching MD east, MA blue, MEP 8, 1 with a status\n");
  EXPECT_THAT(outcome.out, HasSubstr("remote MEP 8"));
  EXPECT_THAT(outcome.out, testing::Not(HasSubstr("remote MEP 7")));
}

TEST_F(Watch, EndsAtOnceWhenTheConditionHolds) {
  Remote(7, "rmep-ok");
  Remote(8, "rmep-ok");
  const auto outcome = Run({"watch", "--until", "state=rmep-ok", "east"});
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_THAT(outcome.out, IsEmpty());
}

TEST_F(Watch, WaitsForEveryRemoteMepAlsoForThoseWithoutAStatus) {
  Remote(7, "rmep-ok");
  auto watch = Start({"--until", "state=rmep-ok"});
  Remote(8, "rmep-start");
  Remote(8, "rmep-ok");
  const auto outcome = watch.get();
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_THAT(outcome.out, HasSubstr("state rmep-start -> rmep-ok\n"));
}

TEST_F(Watch, WaitsForADefectToComeAndToGo) {
  Local("-");
  auto comes = Start({"--until", "defect=R", "east", "blue", "5"});
  Local("S");
  Local("SR");
  EXPECT_EQ(comes.get().status, 0);
  auto goes = Start({"--until", "defect!=R", "east", "blue", "5"});
  Local("-");
  EXPECT_EQ(goes.get().status, 0);
}

TEST_F(Watch, SeveralConditionsHaveToHoldAtOnce) {
  Local("R");
  Remote(7, "rmep-ok");
  Remote(8, "rmep-ok");
  auto watch = Start({"--until", "state=rmep-ok", "--until", "defects=-"});
  Remote(8, "rmep-failed");
  Local("-");
  Remote(8, "rmep-ok");
  const auto outcome = watch.get();
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_THAT(outcome.out, HasSubstr("state rmep-failed -> rmep-ok\n"));
}

TEST_F(Watch, WhatDidNotComeInTimeIsNamed) {
  Remote(7, "rmep-failed");
  const auto outcome = Run({"watch", "--until", "state=rmep-ok", "--timeout", "0.05"});
  EXPECT_EQ(outcome.status, 4);
  EXPECT_EQ(outcome.err,
            "watching every MEP, 1 with a status\n"
            "cfmctl: after 0.05 s the watch ended without what it waited for\n"
            "  remote MEP 7 of md{east}/ma{blue}/mep{5}: state is rmep-failed\n"
            "  remote MEP 8 of md{east}/ma{blue}/mep{5}: has no status yet\n");
}

TEST_F(Watch, ALocalMepThatIsSelectedComesWithTheRemoteMepsOfItsMa) {
  Local("-");
  const auto outcome =
      Run({"watch", "--until", "state=rmep-ok", "--timeout", "0.05", "east", "blue", "5"});
  EXPECT_EQ(outcome.status, 4);
  EXPECT_THAT(outcome.err, HasSubstr("  remote MEP 7 of md{east}/ma{blue}/mep{5}: has no status "
                                     "yet\n  remote MEP 8 of"));
}

TEST_F(Watch, TheTimeIsKeptHoweverMuchChanges) {
  Local("-");
  auto watch = std::async(std::launch::async, [this] {
    return Run({"watch", "--until", "defect=X", "--timeout", "0.3"});
  });
  agent_.AwaitOperationalWatcher();
  int changes = 0;
  while (watch.wait_for(std::chrono::seconds(0)) != std::future_status::ready) {
    Local(++changes % 2 == 0 ? "R" : "A");
  }
  EXPECT_EQ(watch.get().status, 4);
}

TEST_F(Watch, WithNothingToWaitForTheEndOfTheTimeIsNoFailure) {
  const auto outcome = Run({"watch", "--timeout", "0.05"});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.err, "watching every MEP, 0 with a status\n");
}

TEST_F(Watch, WithoutADaemonItWarnsAndNoConditionHolds) {
  Local("-");
  agent_.SetStatus(test::StatusOf(1, false));
  const auto outcome = Run({"watch", "--until", "defects=-", "--timeout", "0.05"});
  EXPECT_EQ(outcome.status, 4);
  EXPECT_THAT(outcome.err, HasSubstr("cfmctl: warning: the daemon is not there: the status stands "
                                     "still until it is\n"));
  EXPECT_THAT(outcome.err, testing::EndsWith("without what it waited for\n"
                                             "  the daemon is not there\n"));
}

TEST_F(Watch, WhatADaemonThatWentAwayLeftIsNotBelieved) {
  Local("R");
  auto watch = Start({"--until", "defects=-", "--count", "2"});
  agent::Status lost = test::StatusOf(1);
  lost.mutable_providers(0)->set_lost(true);
  lost.mutable_providers(0)->set_since(1'000'000'000);
  agent_.SetStatus(lost);
  Local("-");
  Local("S");
  const auto outcome = watch.get();
  EXPECT_EQ(outcome.status, 0);
  EXPECT_THAT(outcome.out, HasSubstr("defects - -> S")) << "it went on";
  EXPECT_THAT(outcome.err, HasSubstr("warning: the daemon is not there, cfm-app (process 123) is "
                                     "gone since 2001-09-09T01:46:40Z: the status stands still"));
}

// A probe that subscribed and ended long ago, and one that provided something
// else, have no part in it.
TEST_F(Watch, WhoWentLastIsNamedOfThoseThatAreMissed) {
  const auto lose = [](agent::SubscriberStatus* lost, const char* name, std::int64_t since) {
    lost->set_name(name);
    lost->set_pid(7);
    lost->set_since(since);
  };
  agent::Status status = test::StatusOf(1);
  agent::ProviderStatus* const other = status.add_providers();
  other->set_name("other");
  other->set_lost(true);
  status.clear_subscribers();
  lose(status.add_lost_subscribers(), "probe", 1'000'000'000);
  lose(status.add_lost_subscribers(), "cfm-app", 1'000'000'001);
  agent_.SetStatus(status);
  EXPECT_THAT(Run({"watch", "--timeout", "0.05"}).err,
              HasSubstr("the daemon is not there, cfm-app (process 7) is gone since "
                        "2001-09-09T01:46:41Z: the status stands still"));

  test::AddProvider(status);
  status.mutable_providers(0)->set_lost(true);
  status.mutable_providers(2)->set_lost(true);
  status.mutable_providers(2)->set_pid(8);
  agent_.SetStatus(status);
  EXPECT_THAT(Run({"watch", "--timeout", "0.05"}).err,
              HasSubstr("the daemon is not there, cfm-app (process 8) is gone: "));
}

TEST_F(Watch, WaitsForTheDaemonWhenTheConditionHoldsAlready) {
  Local("-");
  agent_.SetStatus(test::StatusOf(1, false));
  auto watch = Start({"--until", "defects=-"});
  agent_.SetStatus(test::StatusOf(1));
  const auto outcome = watch.get();
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_THAT(outcome.err, testing::EndsWith("cfmctl: the daemon is there again\n"));
}

TEST_F(Watch, OfNamesThatAreNotConfiguredItWarns) {
  const auto outcome = Run({"watch", "--timeout", "0.05", "east", "blue", "9"});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_THAT(outcome.err,
              HasSubstr("cfmctl: warning: MD east, MA blue, MEP 9 is not configured\n"));
  const auto right = Run({"watch", "--timeout", "0.05", "east", "blue", "8"});
  EXPECT_THAT(right.err, testing::Not(HasSubstr("warning")));
}

TEST_F(Watch, OneThatDoesNotKeepUpIsToldSo) {
  auto watch = Start({});
  agent_.EndWatches();
  const auto outcome = watch.get();
  EXPECT_EQ(outcome.status, 3);
  EXPECT_THAT(outcome.err, testing::EndsWith("cfmctl: the agent has ended the watch\n"
                                             "  the watch did not keep up\n"));
}

TEST_F(Watch, OneThatDoesNotKeepUpWithTheAgentsStatusIsToldSo) {
  auto watch = Start({});
  agent_.EndStatusWatches();
  const auto outcome = watch.get();
  EXPECT_EQ(outcome.status, 3);
  EXPECT_THAT(outcome.err, testing::EndsWith("cfmctl: the agent has ended the watch\n"
                                             "  the watch did not keep up\n"));
}

TEST_F(Watch, LinesThatDidNotComeInTimeAreATimeoutToo) {
  EXPECT_EQ(Run({"watch", "--count", "1", "--timeout", "0.05"}).status, 4);
}

TEST_F(Watch, AConditionThatIsNoneIsWrongUsage) {
  const auto outcome = Run({"watch", "--until", "state=good"});
  EXPECT_EQ(outcome.status, 2);
  EXPECT_THAT(outcome.err, HasSubstr("state is one of rmep-idle"));
  EXPECT_EQ(Run({"watch", "--count", "0"}).status, 2);
  EXPECT_THAT(agent_.Requests(), IsEmpty());
}

TEST_F(Watch, AnAgentThatGoesAwayEndsIt) {
  std::optional<test::FakeAgent> agent;
  const std::filesystem::path other = Directory() / "other";
  std::filesystem::create_directory(other);
  agent.emplace(other);
  auto watch = std::async(std::launch::async, [&] {
    return RunAsIs({"watch", "--runtime-dir", other});
  });
  agent->AwaitOperationalWatcher();
  agent.reset();
  const auto outcome = watch.get();
  EXPECT_EQ(outcome.status, 3);
  EXPECT_THAT(outcome.err, HasSubstr("cfmctl: the agent went away\n"));
}

}  // namespace
}  // namespace cfmctl
