// How the daemon comes up and goes down, seen from outside.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>

#include <regex>
#include <vector>

#include "element.h"

namespace {

using test::Element;
using test::Process;
using testing::ElementsAre;
using testing::HasSubstr;

// The messages that the daemon itself logs, by its source files, in their order; how often it finds
// no status to wipe depends on who of agent and manager is there first.
std::vector<std::string> DaemonMessages(const std::string& log) {
  static const std::regex kRecord(
      R"(cfm-app (?:info|warning|error) ((?:app|config|status)\.cpp:\d+) (~?\w+): (.*))");
  std::vector<std::string> messages;
  for (std::sregex_iterator it(log.begin(), log.end(), kRecord), end; it != end; ++it) {
    if ((*it)[3].str().find("Not found any instance to delete") == std::string::npos) {
      messages.push_back((*it)[2].str() + ": " + (*it)[3].str());
    }
  }
  return messages;
}

TEST(Life, TheDaemonComesUpAndGoesDownInItsOrder) {
  Element element;
  element.StartAll();
  EXPECT_EQ(element.Daemon().Stop(), 0);
  EXPECT_THAT(
      DaemonMessages(element.Daemon().Log()),
      ElementsAre(
          "Config: CFM configuration handler initialized",
          "InvalidateAllStatus: ConfD not ready, scheduling an InvalidateAllStatus in "
          "ConfD connection",
          "Status: Status handling initialized", "Actions: Actions handler initialized",
          "App: The application is up and running", "LoadInitialConfig: Loading initial config",
          "~Config: CFM configuration handler finished", "~App: The application was finished"));
}

TEST(Life, TheStartAndTheEndCarryTheirFixedLines) {
  Element element;
  element.StartAll();
  EXPECT_EQ(element.Daemon().Stop(), 0);
  EXPECT_THAT(element.Daemon().Log(), HasSubstr("app.cpp:19 App: "));
  EXPECT_THAT(element.Daemon().Log(), HasSubstr("app.cpp:28 ~App: "));
}

TEST(Life, SigintEndsTheDaemonsCleanlyToo) {
  Element element;
  element.StartAll();
  for (Process* process : {&element.Daemon(), &element.Manager(), &element.Agent()}) {
    process->Signal(SIGINT);
    EXPECT_EQ(process->AwaitExit(), 0) << process->Log();
  }
}

TEST(Life, TheOrderOfStartingDoesNotMatter) {
  Element element;
  element.StartDaemon();
  element.StartManager();
  element.StartAgent();
  ASSERT_TRUE(element.Manager().AwaitReady()) << element.Manager().Log();
  ASSERT_TRUE(element.Daemon().AwaitReady()) << element.Daemon().Log();
  EXPECT_EQ(element.Verify().status, 0);
}

TEST(Life, ASecondInstanceOfEachDaemonSaysSoAndEnds) {
  Element element;
  element.StartAll();
  for (const std::string name : {"agentd", "cfm-managerd", "cfm-app"}) {
    const auto second = element.StartSecond(name);
    EXPECT_EQ(second->AwaitExit(), 1);
    EXPECT_THAT(second->Log(), HasSubstr(name));
    EXPECT_THAT(second->Log(), HasSubstr("already"));
    EXPECT_THAT(second->Log(), HasSubstr(element.RuntimeDirectory().string()));
  }
  EXPECT_EQ(element.Verify().status, 0);
}

}  // namespace
