#include "timer_queue.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace cfm::engine {
namespace {

using namespace std::chrono_literals;

struct TimerQueueTest : testing::Test {
  Timer Named(char name) {
    return {queue, [this, name] { expired.push_back(name); }};
  }

  TimerQueue queue;
  std::string expired;
};

TEST_F(TimerQueueTest, ExpiresInTheOrderOfTheDeadlinesThenOfTheMaking) {
  Timer a = Named('a');
  Timer b = Named('b');
  Timer c = Named('c');
  c.Start(5ns);
  b.Start(7ns);
  a.Start(7ns);
  EXPECT_EQ(queue.NextDeadline(), 5ns);
  queue.RunDue(6ns);
  EXPECT_EQ(expired, "c");
  queue.RunDue(7ns);
  EXPECT_EQ(expired, "cab");
  EXPECT_EQ(queue.NextDeadline(), std::nullopt);
}

TEST_F(TimerQueueTest, AStartReplacesTheDeadlineAndAStopRemovesIt) {
  Timer a = Named('a');
  Timer b = Named('b');
  a.Start(5ns);
  a.Start(9ns);
  b.Start(6ns);
  b.Stop();
  EXPECT_FALSE(b.Running());
  queue.RunDue(8ns);
  EXPECT_EQ(expired, "");
  queue.RunDue(9ns);
  EXPECT_EQ(expired, "a");
  EXPECT_FALSE(a.Running());
}

TEST_F(TimerQueueTest, ADestroyedTimerIsForgotten) {
  {
    Timer a = Named('a');
    a.Start(5ns);
  }
  EXPECT_EQ(queue.NextDeadline(), std::nullopt);
  queue.RunDue(9ns);
  EXPECT_EQ(expired, "");
}

TEST_F(TimerQueueTest, WhatAnExpiryMakesDueExpiresInTheSameRun) {
  Timer b = Named('b');
  Timer a(queue, [&] {
    expired.push_back('a');
    b.Start(6ns);
  });
  a.Start(5ns);
  queue.RunDue(6ns);
  EXPECT_EQ(expired, "ab");
}

}  // namespace
}  // namespace cfm::engine
