// Whatever happens to a process, the manager ends up with exactly what is
// committed, and no commit is lost.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>

#include <filesystem>

#include "element.h"
#include "front_end.h"

namespace {

using test::CommandResult;
using test::Element;
using test::FrontEnd;
using testing::ContainsRegex;
using testing::HasSubstr;

class Recovery : public testing::Test {
 protected:
  void SetUp() override {
    element_.StartAll();
    ASSERT_EQ(element_.Cfmctl({"load", EXAMPLE}).status, 0);
    ASSERT_EQ(element_.Verify().status, 0);
  }

  CommandResult SetLevel(const std::string& level) {
    return element_.Cfmctl({"set", "md{metro}/level", level});
  }
  // Waits until the agent says so of a commit in progress.
  void AwaitCommitInProgress() {
    FrontEnd front_end(element_.RuntimeDirectory());
    cfm::agent::Request watch;
    watch.mutable_watch_status();
    front_end.Send(watch);
    while (!front_end.Receive().status().commit_in_progress()) {
    }
  }
  // In place of an agent that soon gives up whoever stands still.
  void StartPatientAgent() {
    element_.Agent().Stop();
    ASSERT_TRUE(element_.StartAgent({"--heartbeat-interval", "60"}).AwaitReady());
    ASSERT_EQ(element_.Cfmctl({"status", "--wait", "20", "--for", "daemon"}).status, 0);
  }
  void RestartDaemonAndVerify() {
    ASSERT_TRUE(element_.StartDaemon().AwaitReady()) << element_.Daemon().Log();
    EXPECT_EQ(element_.Verify().status, 0);
  }

  Element element_;
};

TEST_F(Recovery, ADaemonThatIsStartedAnewLoadsEverything) {
  element_.KillDaemon();
  ASSERT_EQ(SetLevel("1").status, 0);
  RestartDaemonAndVerify();
}

TEST_F(Recovery, AManagerThatComesBackGetsTheHierarchyAgain) {
  element_.KillManager();
  ASSERT_EQ(SetLevel("1").status, 0);
  ASSERT_TRUE(element_.StartManager().AwaitReady());
  EXPECT_EQ(element_.Verify().status, 0);
}

TEST_F(Recovery, TheDaemonStaysWhenTheAgentComesBackWithTheSameConfiguration) {
  const pid_t daemon = element_.Daemon().Pid();
  element_.KillAgent();
  ASSERT_TRUE(element_.StartAgent().AwaitReady()) << element_.Agent().Log();
  ASSERT_EQ(element_.Cfmctl({"status", "--wait", "20", "--for", "daemon"}).status, 0);
  ASSERT_EQ(SetLevel("3").status, 0);
  EXPECT_EQ(element_.Verify().status, 0);
  EXPECT_EQ(kill(daemon, 0), 0);
}

TEST_F(Recovery, TheDaemonStaysWhenOnlyADefaultWasWrittenDownWithoutIt) {
  const CommandResult written = element_.Cfmctl(
      {"set", "md{metro}/ma{ring-east}/mep{1}/continuity-check/fault-alarm-time", "2500"});
  ASSERT_EQ(written.status, 0) << written.error;
  element_.KillAgent();
  ASSERT_TRUE(element_.StartAgent().AwaitReady()) << element_.Agent().Log();
  ASSERT_EQ(element_.Cfmctl({"status", "--wait", "20", "--for", "daemon"}).status, 0);
  ASSERT_EQ(SetLevel("3").status, 0);
  EXPECT_EQ(element_.Verify().status, 0);
  EXPECT_FALSE(element_.Daemon().Status()) << element_.Daemon().Log();
}

TEST_F(Recovery, TheDaemonEndsWithAnErrorWhenTheConfigurationMovedOnWithoutIt) {
  element_.Daemon().Signal(SIGSTOP);
  element_.KillAgent();
  ASSERT_TRUE(element_.StartAgent().AwaitReady());
  ASSERT_EQ(SetLevel("3").status, 0);
  element_.Daemon().Signal(SIGCONT);
  EXPECT_EQ(element_.Daemon().AwaitExit(), 1);
  EXPECT_THAT(element_.Daemon().Log(), HasSubstr("cfm-app error in velmw loop"));
  EXPECT_THAT(element_.Daemon().Log(), HasSubstr("app.cpp:28 ~App: The application was finished"));
  RestartDaemonAndVerify();
}

TEST_F(Recovery, ACommitInWhichTheAgentDiesIsNotLost) {
  StartPatientAgent();
  element_.Daemon().Signal(SIGSTOP);
  const auto commit = element_.StartCfmctl({"set", "md{metro}/level", "7"});
  AwaitCommitInProgress();
  element_.KillAgent();
  EXPECT_EQ(commit->AwaitExit(), 3);
  EXPECT_THAT(commit->Log(), HasSubstr("unknown"));

  ASSERT_TRUE(element_.StartAgent().AwaitReady()) << element_.Agent().Log();
  EXPECT_THAT(element_.Cfmctl({"get", "md{metro}/level", "--format", "xml"}).output,
              HasSubstr("<level>7</level>"));
  element_.Daemon().Signal(SIGCONT);
  EXPECT_EQ(element_.Daemon().AwaitExit(), 1);
  RestartDaemonAndVerify();
}

TEST_F(Recovery, ACommitInWhichTheDaemonDiesStandsAndSaysWhoMissedIt) {
  StartPatientAgent();
  element_.Daemon().Signal(SIGSTOP);
  const auto commit = element_.StartCfmctl({"set", "md{metro}/level", "7"});
  AwaitCommitInProgress();
  element_.KillDaemon();
  EXPECT_EQ(commit->AwaitExit(), 0);
  EXPECT_THAT(commit->Log(), HasSubstr("cfm-app"));
  RestartDaemonAndVerify();
}

TEST_F(Recovery, ADaemonThatHangsIsDisconnectedAndTheCommitSaysSo) {
  element_.Daemon().Freeze();
  const CommandResult commit = SetLevel("7");
  EXPECT_EQ(commit.status, 0);
  EXPECT_THAT(commit.error,
              ContainsRegex("subscriber cfm-app .*gave no sign of life for [0-9]+ ms .*stopped"));
  // As provider it is not waited for either.
  EXPECT_THAT(element_.Cfmctl({"status"}).output, ContainsRegex("cfm-app.*gone since"));
  EXPECT_THAT(element_.Cfmctl({"show", "status"}).error, HasSubstr("is gone since"));
  EXPECT_EQ(element_.Agent().CountInLog("data provider cfm-app (process " +
                                        std::to_string(element_.Daemon().Pid()) +
                                        ") gave no sign of life"),
            0);
  // The next commit does not wait for it any more and says so, and it must not
  // take the one that still waits in its socket for the latest.
  EXPECT_THAT(SetLevel("6").error, ContainsRegex("subscriber cfm-app .* has not come back"));
  element_.Daemon().Signal(SIGCONT);
  EXPECT_EQ(element_.Daemon().AwaitExit(), 1);
  RestartDaemonAndVerify();
}

// However the commit was made.
class MissedCommit : public Recovery, public testing::WithParamInterface<const char*> {
 protected:
  CommandResult Make(const std::string& how) {
    if (how == "edit") {
      return element_.Cfmctl({"edit", "set", "md{metro}/level", "7"});
    }
    if (how == "load") {
      return element_.Cfmctl(
          {"load", "-"},
          R"({"element-cfm:config": {"oam": {"cfm": {"md": [{"id": "metro", "level": 7}]}}}})");
    }
    return element_.Cfmctl({"commit"});
  }
};

TEST_P(MissedCommit, TellsTheOperatorWhoMissedIt) {
  ASSERT_EQ(element_.Cfmctl({"set", "--candidate", "md{metro}/level", "6"}).status, 0);
  element_.Daemon().Freeze();
  const CommandResult commit = Make(GetParam());
  EXPECT_EQ(commit.status, 0) << commit.error;
  EXPECT_THAT(commit.error, ContainsRegex("subscriber cfm-app .*gave no sign of life"));
  element_.Daemon().Signal(SIGCONT);
  EXPECT_EQ(element_.Daemon().AwaitExit(), 1);
  RestartDaemonAndVerify();
}

INSTANTIATE_TEST_SUITE_P(EveryWay, MissedCommit, testing::Values("edit", "load", "candidate"),
                         [](const auto& way) { return std::string(way.param); });

TEST_F(Recovery, ADaemonThatIsFrozenInAReadIsGivenUpAndCommitsGoOn) {
  element_.Daemon().Freeze();
  const CommandResult read = element_.Cfmctl({"show", "status"});
  EXPECT_EQ(read.status, 5);
  EXPECT_THAT(read.error, HasSubstr("data provider cfm-app"));
  EXPECT_THAT(element_.Agent().Log(),
              ContainsRegex("data provider cfm-app .*gave no sign of life for [0-9]+ ms"));
  EXPECT_EQ(SetLevel("7").status, 0);
  element_.Daemon().Signal(SIGCONT);
  EXPECT_EQ(element_.Daemon().AwaitExit(), 1);
  RestartDaemonAndVerify();
}

TEST_F(Recovery, AnAgentThatIsAskedToEndWhileACommitIsAnnouncedEndsCleanly) {
  StartPatientAgent();
  element_.Daemon().Signal(SIGSTOP);
  const auto commit = element_.StartCfmctl({"set", "md{metro}/level", "7"});
  AwaitCommitInProgress();
  EXPECT_EQ(element_.Agent().Stop(), 0) << element_.Agent().Log();
  EXPECT_EQ(commit->AwaitExit(), 0);
  EXPECT_THAT(commit->Log(), HasSubstr("has not dealt with the change: agentd is ending"));
  ASSERT_TRUE(element_.StartAgent().AwaitReady());
  element_.Daemon().Signal(SIGCONT);
  EXPECT_EQ(element_.Daemon().AwaitExit(), 1);
  RestartDaemonAndVerify();
  EXPECT_THAT(element_.Cfmctl({"get", "md{metro}/level", "--format", "xml"}).output,
              HasSubstr("<level>7</level>"));
}

TEST_F(Recovery, ADatabaseThatWasTakenAwayRefusesCommitsUntilItIsBack) {
  const std::filesystem::path file = element_.Directory() / "state" / "running.db";
  const std::filesystem::path aside = element_.Directory() / "state" / "aside.db";
  std::filesystem::rename(file, aside);
  const CommandResult refused = SetLevel("7");
  EXPECT_EQ(refused.status, 1);
  EXPECT_THAT(refused.error, HasSubstr(file.string()));
  std::filesystem::rename(aside, file);
  ASSERT_EQ(SetLevel("7").status, 0);
  EXPECT_EQ(element_.Verify().status, 0);
}

// A full disk, as far as the agent can tell: its files may not grow.
class FileSizeLimit {
 public:
  FileSizeLimit(pid_t pid, rlim_t bytes) : pid_(pid) { Set({bytes, RLIM_INFINITY}); }
  ~FileSizeLimit() { Set({RLIM_INFINITY, RLIM_INFINITY}); }

 private:
  void Set(const rlimit& limit) { EXPECT_EQ(prlimit(pid_, RLIMIT_FSIZE, &limit, nullptr), 0); }
  pid_t pid_;
};

TEST_F(Recovery, ACommitThatCannotBeStoredChangesNothingAndTheNextOneWorks) {
  const std::string before = element_.Cfmctl({"get", "--format", "xml"}).output;
  {
    const FileSizeLimit limit(element_.Agent().Pid(), 0);
    const CommandResult refused = SetLevel("7");
    EXPECT_EQ(refused.status, 1);
    EXPECT_THAT(refused.error, HasSubstr("running.db"));
    EXPECT_EQ(element_.Cfmctl({"get", "--format", "xml"}).output, before);
    EXPECT_EQ(element_.Verify().status, 0);
  }
  ASSERT_EQ(SetLevel("7").status, 0);
  EXPECT_EQ(element_.Verify().status, 0);
  element_.Agent().Stop();
  ASSERT_TRUE(element_.StartAgent().AwaitReady());
  EXPECT_THAT(element_.Cfmctl({"get", "md{metro}/level", "--format", "xml"}).output,
              HasSubstr("<level>7</level>"));
}

}  // namespace
