// Who is given up, and when, on a clock and with a process of the test's own.
#include "vigil.h"

#include <gmock/gmock.h>
#include <unistd.h>

namespace agentd::test {
namespace {

using ::testing::HasSubstr;
using namespace std::chrono_literals;
using Verdict = Vigil::Verdict;

class VigilTest : public ::testing::Test {
 protected:
  Verdict Look(const Vigil::Sight& sight) {
    now_ += 250ms;
    return vigil_.Look(now_, sight);
  }
  // A process in that state that has run for so long.
  Verdict See(char state, std::uint64_t cpu) { return Look({Pulse{state, cpu}}); }

  Vigil::Time now_ = 5s;
  Vigil vigil_{{.interval = 250ms, .misses = 3}, now_};
};

TEST_F(VigilTest, AStoppedProcessIsGivenUpAfterThreeLooks) {
  EXPECT_EQ(See('T', 7), Verdict::kSilent);
  EXPECT_EQ(See('T', 7), Verdict::kSilent);
  EXPECT_EQ(See('T', 7), Verdict::kGivenUp);
  EXPECT_EQ(vigil_.Why(now_),
            "gave no sign of life for 750 ms (3 heartbeats of 250 ms, process stopped)");
}

TEST_F(VigilTest, ASleeperIsGivenUpToo) {
  See('S', 7);
  See('S', 7);
  EXPECT_EQ(See('S', 7), Verdict::kGivenUp);
  EXPECT_THAT(vigil_.Why(now_), HasSubstr("process asleep"));
}

TEST_F(VigilTest, WhateverIsHeardBeginsTheCountAnew) {
  See('S', 7);
  See('S', 7);
  vigil_.Heard();
  EXPECT_TRUE(vigil_.HasHeard());
  EXPECT_EQ(Look({}), Verdict::kAlive);
  EXPECT_FALSE(vigil_.HasHeard());
  EXPECT_EQ(See('S', 7), Verdict::kSilent);
  EXPECT_EQ(See('S', 7), Verdict::kSilent);
  EXPECT_EQ(See('S', 7), Verdict::kGivenUp);
  EXPECT_THAT(vigil_.Why(now_), HasSubstr("for 750 ms"));
}

TEST_F(VigilTest, ProcessorTimeIsASignOfLife) {
  for (std::uint64_t cpu = 1; cpu < 100; ++cpu) {
    EXPECT_NE(See('S', cpu), Verdict::kGivenUp);
  }
  EXPECT_EQ(See('S', 99), Verdict::kSilent);
  EXPECT_EQ(See('S', 99), Verdict::kSilent);
  EXPECT_EQ(See('S', 99), Verdict::kGivenUp);
}

TEST_F(VigilTest, AProcessThatGetsNoProcessorOrWaitsForADiskIsNotGivenUp) {
  for (int i = 0; i < 10; ++i) {
    EXPECT_EQ(See('R', 7), Verdict::kAlive);
    EXPECT_EQ(See('D', 7), Verdict::kAlive);
  }
}

TEST_F(VigilTest, AProcessThatWaitsForTheAgentIsNotGivenUp) {
  for (int i = 0; i < 10; ++i) {
    EXPECT_EQ(Look({Pulse{'S', 7}, true}), Verdict::kAlive);
  }
}

TEST_F(VigilTest, AProcessOfWhichNothingCanBeToldIsNotGivenUp) {
  for (int i = 0; i < 10; ++i) {
    EXPECT_EQ(Look({}), Verdict::kAlive);
  }
}

TEST(PulseTest, TellsOfAProcessAndOfNoneThatIsNotThere) {
  const auto before = ReadPulse(getpid());
  ASSERT_TRUE(before);
  EXPECT_EQ(before->state, 'R');
  const auto after = ReadPulse(getpid());
  ASSERT_TRUE(after);
  EXPECT_GT(after->cpu, before->cpu);
  EXPECT_FALSE(ReadPulse(0x7fffffff));
}

}  // namespace
}  // namespace agentd::test
