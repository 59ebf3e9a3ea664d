#include <future>

#include "command_fixture.h"
#include "core/expected_hierarchy.h"
#include "fakes.h"
#include "trees.h"

namespace cfmctl {
namespace {

using testing::HasSubstr;

class Status : public test::CommandTest {
 protected:
  // The command in a thread, for tests that change the element meanwhile.
  std::future<test::Outcome> Start(const std::vector<std::string>& words) {
    return std::async(std::launch::async, [this, words] { return Run(words); });
  }
};

TEST_F(Status, ShowsAgentDaemonAndManager) {
  test::FakeAgent agent(Directory());
  agent.SetStatus(test::StatusOf(12));
  const test::FakeManager manager(
      Directory(), ExpectedHierarchy(test::Cfm(), [](const std::string&) { return 1U; }));
  const auto outcome = Run({"status"});
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_EQ(outcome.out,
            "agent    transaction 12; database /var/lib/cfm/running.db\n"
            "daemon   cfm-app (process 123) subscribed with priority 0 to /config/oam/cfm/md/\n"
            "         cfm-app (process 123) provides level statistics clear_cfm_statistics\n"
            "manager  configuration 1: 2 MDs, 1 MA, 2 MEPs\n");
}

TEST_F(Status, WhatIsNotThereIsNamed) {
  test::FakeAgent agent(Directory());
  agent.SetStatus(test::StatusOf(12, false));
  const auto outcome = Run({"status"});
  EXPECT_EQ(outcome.status, 3);
  EXPECT_THAT(outcome.out, HasSubstr("daemon   not there: nobody subscribed"));
  EXPECT_THAT(outcome.out, HasSubstr("manager  not there: cannot reach the CFM manager at"));
  EXPECT_EQ(outcome.err, "cfmctl: not there: daemon, manager\n");
}

TEST_F(Status, ADaemonIsThereWhenItIsSubscribedAndProvides) {
  test::FakeAgent agent(Directory());
  cfm::agent::Status status = test::StatusOf(12);
  agent.SetStatus(status);
  EXPECT_EQ(Run({"status", "--for", "daemon"}).status, 0);

  status.mutable_providers(0)->set_lost(true);
  agent.SetStatus(status);
  const auto lost = Run({"status", "--for", "daemon"});
  EXPECT_EQ(lost.status, 3);
  EXPECT_THAT(lost.out,
              HasSubstr("         cfm-app (process 123) is gone, which provided level statistics "
                        "clear_cfm_statistics\n"));

  test::AddProvider(status);
  agent.SetStatus(status);
  EXPECT_EQ(Run({"status", "--for", "daemon"}).status, 0) << "its successor provides";

  status.clear_subscribers();
  agent.SetStatus(status);
  EXPECT_EQ(Run({"status", "--for", "daemon"}).status, 3);

  status = test::StatusOf(12);
  status.clear_providers();
  agent.SetStatus(status);
  const auto silent = Run({"status", "--for", "daemon"});
  EXPECT_EQ(silent.status, 3);
  EXPECT_THAT(silent.out, HasSubstr("not there: nobody provides status and statistics\n"));
}

TEST_F(Status, WhoIsThereOrGoneIsShownWithTheTime) {
  test::FakeAgent agent(Directory());
  cfm::agent::Status status = test::StatusOf(12);
  status.mutable_subscribers(0)->set_since(1'000'000'000);
  status.mutable_subscribers(0)->set_silent_seconds(7);
  status.mutable_providers(0)->set_lost(true);
  status.mutable_providers(0)->set_since(1'000'000'001);
  *status.add_lost_subscribers() = status.subscribers(0);
  agent.SetStatus(status);
  const auto outcome = Run({"status", "--for", "daemon"});
  EXPECT_THAT(
      outcome.out,
      HasSubstr("daemon   cfm-app (process 123) subscribed with priority 0 to "
                "/config/oam/cfm/md/ since 2001-09-09T01:46:40Z; it has not answered for 7 s\n"
                "         cfm-app (process 123) is gone since 2001-09-09T01:46:40Z, which "
                "subscribed with priority 0 to /config/oam/cfm/md/\n"
                "         cfm-app (process 123) is gone since 2001-09-09T01:46:41Z, which "
                "provided level statistics clear_cfm_statistics\n"));
}

TEST_F(Status, AManagerIsReadyWhenWhatIsCommittedHasReachedIt) {
  test::FakeAgent agent(Directory());
  agent.SetStatus(test::StatusOf(12));
  test::FakeManager manager(Directory());
  const auto early = Run({"status"});
  EXPECT_EQ(early.status, 3);
  EXPECT_THAT(early.out, HasSubstr("manager  was given no configuration yet\n"));
  EXPECT_EQ(early.err, "cfmctl: not there: the manager's configuration\n");
  EXPECT_EQ(Run({"status", "--for", "agent,manager"}).status, 0) << "without a daemon";
}

TEST_F(Status, WaitingSeesWhatIsCommittedReachTheManager) {
  test::FakeAgent agent(Directory());
  agent.SetStatus(test::StatusOf(12));
  test::FakeManager manager(Directory());
  auto waiting = Start({"status", "--wait", "30"});
  manager.AwaitObserver();
  manager.Hold({});
  EXPECT_EQ(waiting.get().status, 0);
}

// Its socket is there already, so nothing will appear in the directory.
TEST_F(Status, WaitingTriesAgainWhereAConnectionWasClosed) {
  test::FakeAgent agent(Directory());
  agent.SetStatus(test::StatusOf(0));
  agent.hang_ups = 2;
  const test::FakeManager manager(Directory());
  const auto outcome = Run({"status", "--wait", "20"});
  EXPECT_EQ(outcome.status, 0) << outcome.out;
}

TEST_F(Status, WithNothingCommittedTheManagerNeedsNothing) {
  test::FakeAgent agent(Directory());
  agent.SetStatus(test::StatusOf(0));
  const test::FakeManager manager(Directory());
  EXPECT_EQ(Run({"status"}).status, 0);
}

TEST_F(Status, AManagerThatHangsKeepsTheOthersFromNobody) {
  test::FakeAgent agent(Directory());
  agent.SetStatus(test::StatusOf(12));
  const test::FakeServer manager(Directory() / "cfm-managerd.sock", test::HangUntilClosed);
  const auto outcome = Run({"status", "--timeout", "0.2"});
  EXPECT_EQ(outcome.status, 3);
  EXPECT_THAT(outcome.out, testing::StartsWith("agent    transaction 12;"));
  EXPECT_THAT(outcome.out, HasSubstr("manager  not there: the CFM manager at"));
  EXPECT_THAT(outcome.out, HasSubstr("did not answer"));
}

TEST_F(Status, ARuntimeDirectoryThatCannotBeIsUnreachable) {
  const std::string file = WriteFile("file", "");
  const auto look = RunAsIs({"status", "--runtime-dir", file});
  EXPECT_EQ(look.status, 3);
  EXPECT_THAT(look.out, HasSubstr("Not a directory; is agentd running? (CFM_RUNTIME_DIR or "));
  const auto wait = RunAsIs({"status", "--runtime-dir", file, "--wait", "5"});
  EXPECT_EQ(wait.status, 3);
  EXPECT_EQ(wait.err, "cfmctl: cannot watch for the element in " + file +
                          ": Not a directory; is agentd running? (CFM_RUNTIME_DIR or "
                          "--runtime-dir selects another element)\n");
}

TEST_F(Status, ToWaitForNoTimeIsToLookOnce) {
  test::FakeAgent agent(Directory());
  agent.SetStatus(test::StatusOf(12));
  EXPECT_EQ(Run({"status", "--wait", "0", "--for", "daemon"}).status, 0);
  EXPECT_EQ(Run({"status", "--wait", "0"}).err, "cfmctl: not there: manager\n");
}

TEST_F(Status, OnlyWhatIsAskedForHasToBeThere) {
  const test::FakeAgent agent(Directory());
  EXPECT_EQ(Run({"status", "--for", "agent"}).status, 0);
  EXPECT_EQ(Run({"status", "--for", "agent,manager"}).status, 3);
  EXPECT_EQ(Run({"status", "--for", "agent,nobody"}).status, 2);
}

TEST_F(Status, WaitingEndsWhenTheTimeIsOver) {
  const auto outcome = Run({"status", "--wait", "0.05"});
  EXPECT_EQ(outcome.status, 4);
  EXPECT_EQ(outcome.err, "cfmctl: not there after 0.05 s: agent, daemon, manager\n");
}

TEST_F(Status, WaitingSeesTheProcessesAppearOneAfterTheOther) {
  auto outcome = Start({"status", "--wait", "30"});
  const test::FakeManager manager(Directory(), {});
  test::FakeAgent agent(Directory());
  agent.SetStatus(test::StatusOf(12));
  EXPECT_EQ(outcome.get().status, 0);
}

TEST_F(Status, WaitingSeesTheDaemonSubscribe) {
  test::FakeManager manager(Directory(), {});
  test::FakeAgent agent(Directory());
  agent.SetStatus(test::StatusOf(12, false));
  auto outcome = Start({"status", "--wait", "30"});
  manager.AwaitObserver();
  agent.SetStatus(test::StatusOf(12, true));
  EXPECT_EQ(outcome.get().status, 0);
}

TEST_F(Status, WaitingSeesTheRuntimeDirectoryComeIntoBeing) {
  const std::filesystem::path later = Directory() / "run" / "cfm";
  auto outcome = std::async(std::launch::async, [&] {
    return RunAsIs({"status", "--runtime-dir", later, "--wait", "30", "--for", "manager"});
  });
  std::filesystem::create_directories(later);
  const test::FakeManager manager(later, {});
  EXPECT_EQ(outcome.get().status, 0);
}

TEST_F(Status, WaitingBeginsAnewWhenItDidNotKeepUp) {
  test::FakeAgent agent(Directory());
  agent.SetStatus(test::StatusOf(12, false));
  test::FakeManager manager(Directory(), {});
  auto outcome = Start({"status", "--wait", "30"});
  manager.AwaitObserver();
  agent.EndStatusWatches();
  agent.SetStatus(test::StatusOf(13));
  const auto seen = outcome.get();
  EXPECT_EQ(seen.status, 0);
  EXPECT_THAT(seen.out, HasSubstr("transaction 13"));
}

TEST_F(Status, WaitingOutlivesAnAgentThatIsReplaced) {
  auto first = std::make_unique<test::FakeAgent>(Directory());
  first->SetStatus(test::StatusOf(12, false));
  test::FakeManager manager(Directory(), {});
  auto outcome = Start({"status", "--wait", "30"});
  manager.AwaitObserver();
  first.reset();
  test::FakeAgent second(Directory());
  second.SetStatus(test::StatusOf(13));
  const auto seen = outcome.get();
  EXPECT_EQ(seen.status, 0);
  EXPECT_THAT(seen.out, HasSubstr("transaction 13"));
}

}  // namespace
}  // namespace cfmctl
