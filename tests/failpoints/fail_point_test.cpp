// What the environment makes of fail points.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>

#include <fstream>
#include <iterator>
#include <ostream>

#include "process.h"
#include "temporary_directory.h"

namespace {

using testing::HasSubstr;

constexpr const char* kPassed = "pass 1\npass 2\npass 3\n";
constexpr const char* kTransferred = "10 ok\n10 ok\n10 ok\n";

test::CommandResult Pass(const std::string& fail_point) {
  return test::Run({PASSER}, {{"CFM_FAIL_POINT", fail_point}});
}

TEST(FailPoint, DoesNothingUnlessItIsToldTo) {
  const test::CommandResult result = Pass("");
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.output, std::string(kPassed) + kTransferred);
}

TEST(FailPoint, KillsAtTheFirstPass) {
  const test::CommandResult result = Pass("agent_commit_stored:kill");
  EXPECT_EQ(result.status, 128 + SIGKILL);
  EXPECT_EQ(result.output, "");
}

TEST(FailPoint, KillsAfterThePassesThatItSkips) {
  const test::CommandResult result = Pass("agent_commit_stored:2:kill");
  EXPECT_EQ(result.status, 128 + SIGKILL);
  EXPECT_EQ(result.output, "pass 1\npass 2\n");
}

TEST(FailPoint, LeavesAProcessAloneThatDoesNotPassItOftenEnough) {
  EXPECT_EQ(Pass("agent_commit_stored:3:kill").status, 0);
}

TEST(FailPoint, FailsOneTransfer) {
  EXPECT_EQ(Pass("frame_send:1:error").output,
            std::string(kPassed) + "10 ok\n-1 ECONNRESET\n10 ok\n");
}

TEST(FailPoint, CutsOneTransferShort) {
  EXPECT_EQ(Pass("frame_send:short").output, std::string(kPassed) + "5 ok\n10 ok\n10 ok\n");
}

TEST(FailPoint, StopsAProcessUntilItIsWoken) {
  const test::TemporaryDirectory directory;
  test::Process process({PASSER},
                        {.environment = {{"CFM_FAIL_POINT", "agent_commit_stored:1:stop"}},
                         .directory = directory.Path(),
                         .name = "passer"});
  ASSERT_TRUE(process.AwaitStop());
  EXPECT_EQ(process.Log(), "pass 1\n");
  process.Signal(SIGCONT);
  EXPECT_EQ(process.AwaitExit(), 0);
  EXPECT_EQ(process.Log(), std::string(kPassed) + kTransferred);
}

TEST(FailPoint, IsOneOfSeveralThatFailIndependently) {
  EXPECT_EQ(Pass("agent_commit_stored:9:kill,frame_send:1:short").output,
            std::string(kPassed) + "10 ok\n5 ok\n10 ok\n");
}

std::string LogOf(const std::string& fail_point) {
  const test::TemporaryDirectory directory;
  const std::string log = directory.Path() / "log";
  test::Run({PASSER}, {{"CFM_FAIL_POINT", fail_point}, {"CFM_FAIL_POINT_LOG", log}});
  std::ifstream file(log);
  return {std::istreambuf_iterator<char>(file), {}};
}

TEST(FailPoint, IsLoggedAtItsFirstPassOnly) {
  EXPECT_EQ(LogOf(""), "agent_commit_stored\nframe_send\n");
}

TEST(FailPoint, IsLoggedWhenItFails) {
  EXPECT_EQ(LogOf("agent_commit_stored:1:kill"),
            "agent_commit_stored\nagent_commit_stored:1:kill\n");
  EXPECT_EQ(LogOf("frame_send:error,agent_commit_stored:9:kill"),
            "agent_commit_stored\nframe_send\nframe_send:error\n");
}

struct Nonsense {
  const char* fail_point;
  const char* complaint;
};

void PrintTo(const Nonsense& nonsense, std::ostream* out) {
  *out << nonsense.fail_point;
}

class FailPointNonsense : public testing::TestWithParam<Nonsense> {};

TEST_P(FailPointNonsense, IsComplainedOf) {
  const test::CommandResult result = Pass(GetParam().fail_point);
  EXPECT_EQ(result.status, 2);
  EXPECT_THAT(result.error, testing::StartsWith("CFM_FAIL_POINT="));
  EXPECT_THAT(result.error, HasSubstr(GetParam().complaint));
}

INSTANTIATE_TEST_SUITE_P(
    All, FailPointNonsense,
    testing::Values(Nonsense{"nowhere:kill", "no point of that name"},
                    Nonsense{"agent_commit_stored", "the action is none of"},
                    Nonsense{"agent_commit_stored:explode", "the action is none of"},
                    Nonsense{"agent_commit_stored:once:kill", "is no number"},
                    Nonsense{"agent_commit_stored:error", "only a transfer takes error"},
                    Nonsense{"disk_sync:short", "only a transfer takes error"},
                    Nonsense{"frame_send:error,nowhere:kill", "no point of that name"},
                    Nonsense{"agent_commit_stored:1:kill:2", "the action is none of"}));

}  // namespace
