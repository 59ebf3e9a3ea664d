#include "announcements.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using velmw::AgentState;

class Announcements : public testing::Test {
 protected:
  velmw::AgentStateHandler Noting(int number) {
    return [this, number](AgentState state) { calls_.emplace_back(number, state); };
  }

  velmw::Announcements announcements_;
  std::vector<std::pair<int, AgentState>> calls_;
};

TEST_F(Announcements, ReachEverybodyInTheOrderOfAsking) {
  announcements_.Add(Noting(1));
  announcements_.Add(Noting(2));
  announcements_.Announce(AgentState::kUp);
  announcements_.Announce(AgentState::kDown);
  EXPECT_THAT(calls_,
              ElementsAre(std::pair(1, AgentState::kUp), std::pair(2, AgentState::kUp),
                          std::pair(1, AgentState::kDown), std::pair(2, AgentState::kDown)));
}

TEST_F(Announcements, AreNotRepeatedForWhoAsksLater) {
  announcements_.Announce(AgentState::kUp);
  announcements_.Add(Noting(1));
  EXPECT_THAT(calls_, IsEmpty());
}

TEST_F(Announcements, NoLongerReachWhoIsForgotten) {
  const int first = announcements_.Add(Noting(1));
  announcements_.Add(Noting(2));
  announcements_.Remove(first);
  announcements_.Announce(AgentState::kUp);
  EXPECT_THAT(calls_, ElementsAre(std::pair(2, AgentState::kUp)));
}

TEST_F(Announcements, MayForgetThemselvesAndOthersDuringTheCall) {
  int own = 0;
  int other = 0;
  own = announcements_.Add([&](AgentState state) {
    calls_.emplace_back(1, state);
    announcements_.Remove(own);
    announcements_.Remove(other);
    announcements_.Add(Noting(3));
  });
  other = announcements_.Add(Noting(2));
  announcements_.Announce(AgentState::kDown);
  EXPECT_THAT(calls_, ElementsAre(std::pair(1, AgentState::kDown)));
  announcements_.Announce(AgentState::kUp);
  EXPECT_THAT(calls_, ElementsAre(std::pair(1, AgentState::kDown), std::pair(3, AgentState::kUp)));
}

}  // namespace
