#include "configuration_queue.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

#include "frame.h"
#include "hierarchy_codec.h"
#include "random_hierarchy.h"
#include "reconnect_delay.h"

namespace {

using cfm::ReconnectDelay;
using std::chrono::milliseconds;
using testing::ElementsAre;
using testing::IsEmpty;

class ConfigurationQueueTest : public testing::Test {
 protected:
  // "number:name of the first MD"
  std::vector<std::string> sent_;
  cfm::ConfigurationQueue queue_{[this](const cfm::manager::FromClient& message) {
    const auto& configuration = message.configuration();
    sent_.push_back(
        std::to_string(configuration.number()) + ":" +
        (configuration.mds_size() > 0 ? cfm::DecodeMd(configuration.mds(0)).first : "none"));
  }};

  void Put(const std::string& md) { queue_.Put(test::RegularHierarchy(md, 1, 1)); }
};

TEST_F(ConfigurationQueueTest, SendsNothingBeforeThereIsAnything) {
  queue_.Connected();
  EXPECT_THAT(sent_, IsEmpty());
}

TEST_F(ConfigurationQueueTest, KeepsWhatWasPutWhileTheManagerWasAway) {
  Put("a");
  Put("b");
  EXPECT_THAT(sent_, IsEmpty());
  queue_.Connected();
  EXPECT_THAT(sent_, ElementsAre("2:b"));
}

TEST_F(ConfigurationQueueTest, AnEmptyConfigurationIsSentToo) {
  queue_.Connected();
  queue_.Put({});
  EXPECT_THAT(sent_, ElementsAre("1:none"));
}

TEST_F(ConfigurationQueueTest, OnlyTheNewestFollowsTheOneUnderWay) {
  queue_.Connected();
  Put("a");
  Put("b");
  Put("c");
  EXPECT_THAT(sent_, ElementsAre("1:a"));
  queue_.Applied(1);
  EXPECT_THAT(sent_, ElementsAre("1:a", "3:c"));
  queue_.Applied(3);
  EXPECT_THAT(sent_, ElementsAre("1:a", "3:c"));
}

TEST_F(ConfigurationQueueTest, SendsTheNewestAgainOnEachConnection) {
  queue_.Connected();
  Put("a");
  Put("b");
  queue_.Disconnected();
  queue_.Connected();
  queue_.Applied(2);
  queue_.Disconnected();
  queue_.Connected();
  EXPECT_THAT(sent_, ElementsAre("1:a", "2:b", "2:b"));
}

TEST_F(ConfigurationQueueTest, RefusesAnAnswerToNothing) {
  queue_.Connected();
  EXPECT_THROW(queue_.Applied(0), ipc::ProtocolError);
  Put("a");
  EXPECT_THROW(queue_.Applied(2), ipc::ProtocolError);
  queue_.Applied(1);
  EXPECT_THROW(queue_.Applied(1), ipc::ProtocolError);
}

TEST_F(ConfigurationQueueTest, RefusesWhatNoFrameHoldsAndKeepsTheOneBefore) {
  Put("a");
  cfm::Hierarchy huge;
  huge[std::string(ipc::kMaxFrameBytes, 'x')];
  EXPECT_THROW(queue_.Put(huge), ipc::ProtocolError);
  queue_.Connected();
  EXPECT_THAT(sent_, ElementsAre("1:a"));
}

TEST(ReconnectDelay, GrowsWhileConnectionsDoNotLast) {
  ReconnectDelay delay;
  EXPECT_EQ(delay.After(milliseconds(1)), milliseconds(0));
  EXPECT_EQ(delay.After(milliseconds(1)), milliseconds(20));
  EXPECT_EQ(delay.After(milliseconds(1)), milliseconds(40));
  milliseconds last{};
  for (int i = 0; i < 20; ++i) {
    last = delay.After(ReconnectDelay::kSettled - milliseconds(1));
  }
  EXPECT_EQ(last, ReconnectDelay::kLongest);
}

TEST(ReconnectDelay, IsGoneAfterAConnectionThatLasted) {
  ReconnectDelay delay;
  delay.After(milliseconds(1));
  delay.After(milliseconds(1));
  EXPECT_EQ(delay.After(ReconnectDelay::kSettled), milliseconds(0));
}

}  // namespace
