// An agent that is asked to end while the daemon is at work for it: the daemon
// finishes, and lives.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>

#include "continuity.h"
#include "element.h"
#include "front_end.h"

namespace {

using cfm::agent::Reply;
using test::Element;
using test::FrontEnd;
using test::ReadOf;
using testing::HasSubstr;
using testing::Not;

class Ending : public testing::Test {
 protected:
  void SetUp() override {
    element_.SetInterfaces(test::TableOfWire(element_.Directory() / "wire"));
    // Far more time than the test takes, so that what ends has ended by itself.
    ASSERT_TRUE(element_.StartAgent({"--end-timeout", "60"}).AwaitReady());
    ASSERT_TRUE(element_.StartManager().AwaitReady());
    ASSERT_TRUE(element_.StartDaemon().AwaitReady());
    test::Configure(element_, {.meps = {1}, .remotes = {2}});
    test::ExpectRecordsSoon(element_);
    daemon_ = element_.Daemon().Pid();
  }
  void TearDown() override {
    EXPECT_EQ(element_.Agent().AwaitExit(), 0) << element_.Agent().Log();
    EXPECT_THAT(element_.Agent().Log(), Not(HasSubstr("without waiting any longer")));
    ASSERT_TRUE(element_.StartAgent().AwaitReady());
    ASSERT_EQ(element_.Cfmctl({"status", "--wait", "20"}).status, 0);
    test::ExpectRecordsSoon(element_);
    EXPECT_EQ(element_.Verify().status, 0);
    EXPECT_EQ(kill(daemon_, 0), 0);
    EXPECT_EQ(element_.Daemon().Stop(), 0) << element_.Daemon().Log();
    EXPECT_THAT(element_.Daemon().Log(), Not(HasSubstr("severity=1")));
  }

  // Every question to the daemon and every one of its own comes from now on.
  void AskAgentToEnd() {
    element_.Agent().Signal(SIGTERM);
    ASSERT_TRUE(element_.Agent().AwaitLog("asked to end: first finishes the work of"));
  }

  Element element_;
  pid_t daemon_ = 0;
};

void ExpectNoComplaint(const Reply& reply) {
  EXPECT_EQ(reply.errors_size(), 0) << reply.errors(0).message();
  EXPECT_EQ(reply.warnings_size(), 0) << reply.warnings(0);
}

TEST_F(Ending, AReadThatTheDaemonAnswersIsAnsweredWhole) {
  FrontEnd reader(element_.RuntimeDirectory());
  element_.Daemon().Freeze();
  reader.Send(ReadOf("/status"));
  AskAgentToEnd();
  element_.Daemon().Signal(SIGCONT);
  ExpectNoComplaint(reader.Receive());
}

TEST_F(Ending, AReadThatWaitsForTheManagerIsAnsweredWhole) {
  FrontEnd reader(element_.RuntimeDirectory());
  element_.Manager().Freeze();
  reader.Send(ReadOf("/status"));
  ASSERT_TRUE(element_.Daemon().AwaitLog("Requesting it to CFM Manager"));
  AskAgentToEnd();
  element_.Manager().Signal(SIGCONT);
  ExpectNoComplaint(reader.Receive());
}

TEST_F(Ending, AnOperationIsPerformed) {
  FrontEnd caller(element_.RuntimeDirectory());
  cfm::agent::Request clear;
  clear.mutable_invoke()->set_operation("clear-statistics");
  element_.Daemon().Freeze();
  caller.Send(clear);
  AskAgentToEnd();
  element_.Daemon().Signal(SIGCONT);
  ExpectNoComplaint(caller.Receive());
}

TEST_F(Ending, ACommitReachesTheDaemon) {
  element_.Daemon().Freeze();
  const auto commit = element_.StartCfmctl({"set", "md{provider}/level", "6"});
  FrontEnd watcher(element_.RuntimeDirectory());
  cfm::agent::Request watch;
  watch.mutable_watch_status();
  watcher.Send(watch);
  while (!watcher.Receive().status().commit_in_progress()) {
  }
  AskAgentToEnd();
  element_.Daemon().Signal(SIGCONT);
  EXPECT_EQ(commit->AwaitExit(), 0) << commit->Log();
  EXPECT_THAT(commit->Log(), Not(HasSubstr("warning")));
}

}  // namespace
