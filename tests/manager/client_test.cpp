// The client and its connection: who is there, and which configuration goes to
// it.
#include "cfm/client.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "client_fixture.h"
#include "hierarchy_codec.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

using ClientTest = test::ClientFixture;

TEST_F(ClientTest, InvalidatesStatusWhenItIsConstructed) {
  const cfm::Client client(middleware_, &receiver_);
  EXPECT_THAT(receiver_.calls, ElementsAre("invalidated"));
}

TEST_F(ClientTest, IsNotConstructedWithoutALoop) {
  EXPECT_THROW(cfm::Client(nullptr, &receiver_), std::exception);
}

TEST_F(ClientTest, LeavesNothingBehindWhenTheFirstInvalidationFails) {
  receiver_.on_call = [] { throw std::runtime_error("no"); };
  EXPECT_THROW(cfm::Client(middleware_, &receiver_), std::runtime_error);
  velmw::AnnounceAgentState(middleware_, velmw::AgentState::kUp);
  Settle();
  EXPECT_THAT(receiver_.calls, ElementsAre("invalidated"));
}

TEST_F(ClientTest, HandsTheConfigurationOverWhole) {
  StartManager();
  StartClient();
  const cfm::Hierarchy hierarchy = test::RegularHierarchy("east", 3, 4);
  EXPECT_EQ(client_->ApplyConfiguration(hierarchy), 0);
  ASSERT_TRUE(Await([&] { return !manager_->Configurations().empty(); }));
  EXPECT_EQ(manager_->Hello()->version(), 1U);
  EXPECT_EQ(manager_->Hello()->role(), cfm::manager::ROLE_CONFIGURE);
  EXPECT_FALSE(manager_->Hello()->name().empty());
  EXPECT_TRUE(cfm::DecodeHierarchy(manager_->Configurations()[0]) == hierarchy);
  EXPECT_THAT(receiver_.calls, IsEmpty());
}

TEST_F(ClientTest, FindsAManagerThatComesLater) {
  StartClient();
  EXPECT_EQ(Apply("early"), 0);
  Settle();
  StartManager();
  ASSERT_TRUE(Await([&] { return !manager_->Configurations().empty(); }));
  EXPECT_THAT(ReceivedMds(), ElementsAre("early"));
  EXPECT_THAT(receiver_.calls, IsEmpty());
}

TEST_F(ClientTest, InvalidatesStatusWhenTheManagerIsLost) {
  ConnectBoth();
  manager_.reset();
  ASSERT_TRUE(Await([&] { return !receiver_.calls.empty(); }));
  Settle();
  EXPECT_THAT(receiver_.calls, ElementsAre("invalidated"));
}

TEST_F(ClientTest, GivesTheNextManagerTheLastConfiguration) {
  ConnectBoth();
  Apply("second");
  ASSERT_TRUE(Await([&] { return manager_->Configurations().size() == 2; }));
  manager_.reset();
  ASSERT_TRUE(Await([&] { return !receiver_.calls.empty(); }));
  StartManager();
  ASSERT_TRUE(Await([&] { return !manager_->Configurations().empty(); }));
  Settle();
  EXPECT_THAT(ReceivedMds(), ElementsAre("second"));
  EXPECT_THAT(receiver_.calls, ElementsAre("invalidated"));
}

TEST_F(ClientTest, SendsOnlyTheNewestAfterTheOneUnderWay) {
  StartManager();
  manager_->answers_configurations = false;
  StartClient();
  ASSERT_TRUE(Await([&] { return manager_->Hello().has_value(); }));
  Settle();
  for (const char* md : {"a", "b", "c", "d"}) {
    EXPECT_EQ(Apply(md), 0);
  }
  Settle();
  EXPECT_THAT(ReceivedMds(), ElementsAre("a"));
  manager_->Answer(manager_->Configurations()[0].number());
  ASSERT_TRUE(Await([&] { return manager_->Configurations().size() == 2; }));
  Settle();
  EXPECT_THAT(ReceivedMds(), ElementsAre("a", "d"));
}

TEST_F(ClientTest, DoesNotGrowAndDoesNotWaitWhenTheManagerDoesNotRead) {
  ConnectBoth();
  manager_->SetReading(false);
  const cfm::Hierarchy large = test::RegularHierarchy("large", 1000, 8);
  for (int i = 0; i < 20; ++i) {
    EXPECT_EQ(client_->ApplyConfiguration(large), 0);
    Settle();
  }
  EXPECT_EQ(Apply("last"), 0);
  Settle();
  manager_->SetReading(true);
  ASSERT_TRUE(Await([&] { return manager_->Configurations().size() == 3; }));
  Settle();
  EXPECT_THAT(ReceivedMds(), ElementsAre("first", "large", "last"));
}

TEST_F(ClientTest, SendsNothingBeforeItIsWelcome) {
  StartManager();
  manager_->answers_hello = false;
  StartClient();
  Apply("early");
  ASSERT_TRUE(Await([&] { return manager_->Hello().has_value(); }));
  Settle();
  EXPECT_THAT(manager_->Configurations(), IsEmpty());
}

TEST_F(ClientTest, TriesAgainWhenItWasRefused) {
  StartManager();
  manager_->hello_error = "not now";
  StartClient();
  Apply("patient");
  ASSERT_TRUE(Await([&] { return manager_->Connections() == 3; }));
  EXPECT_THAT(receiver_.calls, IsEmpty());
  manager_->hello_error.clear();
  ASSERT_TRUE(Await([&] { return !manager_->Configurations().empty(); }));
  EXPECT_THAT(ReceivedMds(), ElementsAre("patient"));
}

TEST_F(ClientTest, ConnectsAnewAfterAClosedConnection) {
  ConnectBoth();
  for (int times = 2; times <= 4; ++times) {
    manager_->CloseConnection();
    ASSERT_TRUE(Await([&] { return manager_->Configurations().size() == std::size_t(times); }));
  }
  EXPECT_THAT(receiver_.calls, ElementsAre("invalidated", "invalidated", "invalidated"));
}

// What a manager must not send; the client drops such a connection.
class ClientAndGarbageTest : public ClientTest, public testing::WithParamInterface<std::string> {};

TEST_P(ClientAndGarbageTest, ConnectsAnew) {
  ConnectBoth();
  manager_->SendBytes(GetParam());
  ASSERT_TRUE(Await([&] { return manager_->Connections() == 2; }));
  ASSERT_TRUE(Await([&] { return manager_->Configurations().size() == 2; }));
  EXPECT_THAT(receiver_.calls, ElementsAre("invalidated"));
}

std::string Bytes(std::initializer_list<int> values) {
  std::string bytes;
  for (const int value : values) {
    bytes.push_back(static_cast<char>(value));
  }
  return bytes;
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, ClientAndGarbageTest,
    testing::Values(Bytes({0xff, 0xff, 0xff, 0xff}),             // a length beyond the limit
                    Bytes({0, 0, 0, 3, 0xff, 0xff, 0xff}),       // no protobuf
                    Bytes({0, 0, 0, 0}),                         // a message of no kind
                    Bytes({0, 0, 0, 2, 0x0a, 0}),                // a configuration
                    Bytes({0, 0, 0, 4, 0x12, 2, 0x08, 0x4d})));  // an answer to nothing

TEST_F(ClientTest, DoesNotTakeGarbageForAWelcome) {
  StartManager();
  manager_->answers_hello = false;
  StartClient();
  Apply("patient");
  ASSERT_TRUE(Await([&] { return manager_->Hello().has_value(); }));
  manager_->answers_hello = true;
  manager_->SendBytes(Bytes({0, 0, 0, 3, 0xff, 0xff, 0xff}));
  ASSERT_TRUE(Await([&] { return !manager_->Configurations().empty(); }));
  EXPECT_EQ(manager_->Connections(), 2);
  EXPECT_THAT(receiver_.calls, IsEmpty());
}

TEST_F(ClientTest, GoesOnAfterWarnings) {
  StartManager();
  manager_->warnings = std::vector<std::string>(9, "MEP 5 of MA blue of MD east: no interface");
  StartClient();
  Apply("a");
  ASSERT_TRUE(Await([&] { return manager_->Configurations().size() == 1; }));
  Apply("b");
  ASSERT_TRUE(Await([&] { return manager_->Configurations().size() == 2; }));
  EXPECT_EQ(manager_->Connections(), 1);
}

TEST_F(ClientTest, EndsTheLoopWithAnErrorWhenANotificationCannotBeWorked) {
  ConnectBoth();
  receiver_.on_call = [] { throw std::runtime_error("the receiver is broken"); };
  manager_->CloseConnection();
  bool run = true;
  EXPECT_EQ(velmw_loop_while(middleware_, &run), 1);
}

TEST_F(ClientTest, ClosesTheConnectionAndFallsSilentWhenItIsDestroyed) {
  ConnectBoth();
  client_->RequestStatistics();
  client_.reset();
  ASSERT_TRUE(Await([&] { return !manager_->Connected(); }));
  velmw::AnnounceAgentState(middleware_, velmw::AgentState::kUp);
  Settle();
  EXPECT_THAT(receiver_.calls, IsEmpty());
}

}  // namespace
