// The client in the middleware's own loop, against a manager that the test
// plays in the same loop.
#include "cfm/client.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <velmidware_loop.h>

#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "hierarchy_codec.h"
#include "process.h"
#include "random_hierarchy.h"
#include "scripted_manager.h"
#include "temporary_directory.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

class RecordingReceiver : public cfm::ReceivedInformationHandler {
 public:
  std::vector<std::string> calls;
  std::function<void()> on_call = [] {};

  void HandleStatusLocalMep(std::string, std::string, unsigned short,
                            const cfm::st_lmep_status&) override {
    Record("local status");
  }
  void HandleStatusRemoteMep(std::string, std::string, unsigned short, unsigned short,
                             const cfm::st_rmep_status&) override {
    Record("remote status");
  }
  void HandleStatisticsLocalMep(std::string, std::string, unsigned short,
                                const cfm::st_lmep_stats&) override {
    Record("local statistics");
  }
  void HandleStatisticsRemoteMep(std::string, std::string, unsigned short, unsigned short,
                                 const cfm::st_rmep_stats&) override {
    Record("remote statistics");
  }
  void HandleStatisticsFinished() override { Record("finished"); }
  void HandleRemovedLocalMep(std::string, std::string, unsigned short) override {
    Record("local removed");
  }
  void HandleRemovedRemoteMep(std::string, std::string, unsigned short, unsigned short) override {
    Record("remote removed");
  }
  void HandleStatusInvalidated() override { Record("invalidated"); }

 private:
  void Record(const char* call) {
    calls.emplace_back(call);
    on_call();
  }
};

class ClientTest : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(setenv("CFM_RUNTIME_DIR", directory_.Path().c_str(), 1), 0);
    ASSERT_EQ(setenv("CFM_LOG", "stderr", 1), 0);
    middleware_ = velmw_init("client-test");
  }
  void TearDown() override {
    client_.reset();
    manager_.reset();
    velmw_finish(&middleware_);
  }

  sd_event* Loop() { return velmw::EventLoop(middleware_); }
  void StartManager() { manager_ = std::make_unique<test::ScriptedManager>(Loop()); }
  void StartClient() {
    client_ = std::make_unique<cfm::Client>(middleware_, &receiver_);
    receiver_.calls.clear();
  }
  void ConnectBoth() {
    StartManager();
    StartClient();
    Apply("first");
    ASSERT_TRUE(Await([&] { return manager_->Configurations().size() == 1; }));
    Settle();
  }
  int Apply(const std::string& md) {
    return client_->ApplyConfiguration(test::RegularHierarchy(md, 1, 1));
  }

  // Dispatches events until the condition holds. False when patience runs out.
  bool Await(const std::function<bool()>& condition) {
    const auto deadline = std::chrono::steady_clock::now() + test::kPatience;
    while (!condition()) {
      if (std::chrono::steady_clock::now() > deadline) {
        return false;
      }
      sd_event_run(Loop(), 1'000'000);
    }
    return true;
  }
  // Dispatches what is ready now.
  void Settle() {
    while (sd_event_run(Loop(), 0) > 0) {
    }
  }
  std::vector<std::string> ReceivedMds() const {
    std::vector<std::string> names;
    for (const auto& configuration : manager_->Configurations()) {
      names.push_back(configuration.mds_size() > 0 ? configuration.mds(0).name() : "none");
    }
    return names;
  }

  test::TemporaryDirectory directory_;
  velmw_t* middleware_ = nullptr;
  RecordingReceiver receiver_;
  std::unique_ptr<test::ScriptedManager> manager_;
  std::unique_ptr<cfm::Client> client_;
};

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

TEST_F(ClientTest, CompletesEachStatisticsRequestOnceAndFromTheLoop) {
  StartClient();
  client_->RequestStatistics();
  client_->RequestStatistics();
  EXPECT_THAT(receiver_.calls, IsEmpty());
  Settle();
  EXPECT_THAT(receiver_.calls, ElementsAre("finished", "finished"));
}

TEST_F(ClientTest, CompletesARequestThatIsMadeWhileAnotherIsCompleted) {
  StartClient();
  receiver_.on_call = [this] {
    if (receiver_.calls.size() == 1) {
      client_->RequestStatistics();
      EXPECT_THAT(receiver_.calls, SizeIs(1));
    }
  };
  client_->RequestStatistics();
  Settle();
  EXPECT_THAT(receiver_.calls, ElementsAre("finished", "finished"));
}

TEST_F(ClientTest, InvalidatesStatusWhenTheAgentIsBackButFirstCompletesStatistics) {
  StartClient();
  client_->RequestStatistics();
  velmw::AnnounceAgentState(middleware_, velmw::AgentState::kDown);
  EXPECT_THAT(receiver_.calls, IsEmpty());
  velmw::AnnounceAgentState(middleware_, velmw::AgentState::kUp);
  EXPECT_THAT(receiver_.calls, ElementsAre("finished", "invalidated"));
  Settle();
  EXPECT_THAT(receiver_.calls, SizeIs(2));
}

TEST_F(ClientTest, HasNoStatisticsToClear) {
  StartClient();
  EXPECT_EQ(client_->ClearStatistics(nullptr, nullptr, 0), -1);
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
