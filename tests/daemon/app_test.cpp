// main() is compiled into this program under another name.
#include "app/app.h"

#include <algorithm>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#if defined(__SANITIZE_ADDRESS__)
#define CFM_TEST_ASAN 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define CFM_TEST_ASAN 1
#endif
#endif
#ifdef CFM_TEST_ASAN
#include <sanitizer/asan_interface.h>
#endif

#include "daemon/fake_client.h"
#include "daemon/fake_velconfd.h"
#include "daemon/platform_test.h"
#include "daemon/values.h"

int CfmAppMain(int argc, char* argv[]);

namespace test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

class Main : public PlatformTest {
 protected:
  Main() {
    // A callback that notes its destruction tells when the receiver goes.
    fake::OnProtobufShutdown([this] { WatchReceiver(); });
    fake::OnClientConstruction(
        [this](velmw_t* middleware, cfm::ReceivedInformationHandler* receiver) {
          client_middleware_ = middleware;
          receiver_ = dynamic_cast<cfm::StatusReceiver*>(receiver);
        });
  }

  static int Run() {
    std::string name = "cfm-app";
    char* arguments[] = {name.data(), nullptr};
    return CfmAppMain(1, arguments);
  }

  void WatchReceiver() {
    const std::shared_ptr<void> watch(nullptr, [](void*) { fake::Event("~StatusReceiver"); });
    receiver_->Register({}, {}, {}, {}, {}, {}, [watch] {}, {});
  }

  velmw_t* client_middleware_ = nullptr;
  cfm::StatusReceiver* receiver_ = nullptr;
};

// The callpoints are parts of the status handler.
const char* const kFromStartToEnd[] = {
    "velmw_init cfm-app",
    "Client",
    "velmw_trace_init cfm-app",
    "zlog CFM configuration handler initialized",
    "zlog Status handling initialized",
    "zlog Actions handler initialized",
    "AppInterface",
    "zlog The application is up and running",
    "velmw_loop_while",
    "~AppInterface",
    "~ActionHandler",
    "~Callpoint",
    "~Callpoint",
    "~Callpoint",
    "~Callpoint",
    "~Callpoint",
    "~Callpoint",
    "~Callpoint",
    "~Callpoint",
    "~Callpoint",
    "~Callpoint",
    "~Callpoint",
    "~StatusHandler",
    "zlog CFM configuration handler finished",
    "~ConfigHandler",
    "zlog The application was finished",
    "~Client",
    "velmw_finish",
    "ShutdownProtobufLibrary",
    "~StatusReceiver",
};

TEST_F(Main, EverythingIsBuiltAndTakenDownInItsOrder) {
  EXPECT_EQ(Run(), 0);
  EXPECT_THAT(fake::Events(), testing::ElementsAreArray(kFromStartToEnd));
  EXPECT_THAT(fake::Faults(), IsEmpty());
}

TEST_F(Main, AnErrorOfTheLoopIsAFaultAndTheExitStatusAndTheShutdownIsTheSame) {
  for (const int error : {1, -1, 42}) {
    fake::Events().clear();
    fake::Faults().clear();
    fake::SetLoop([error](velmw_t*, bool*) { return error; });
    EXPECT_EQ(Run(), 1);
    std::vector<std::string> expected(std::begin(kFromStartToEnd), std::end(kFromStartToEnd));
    expected.insert(std::find(expected.begin(), expected.end(), "~AppInterface"),
                    "velmw_gen_fault");
    EXPECT_EQ(fake::Events(), expected);
    ASSERT_EQ(fake::Faults().size(), 1u);
    const fake::Fault& fault = fake::Faults().front();
    EXPECT_EQ(fault.severity, 0);
    EXPECT_EQ(fault.function, "main");
    EXPECT_EQ(fault.file, "main.cpp");
    EXPECT_EQ(fault.line, 25);
    EXPECT_EQ(fault.message, "cfm-app error in velmw loop");
    EXPECT_TRUE(fault.padded_with_zeros);
  }
}

TEST_F(Main, TheLoopRunsOnTheHandleWithItsFlagSet) {
  velmw_t* loop_handle = nullptr;
  bool flag = false;
  fake::SetLoop([&](velmw_t* handle, bool* run) {
    loop_handle = handle;
    flag = *run;
    return 0;
  });
  Run();
  EXPECT_EQ(loop_handle, fake::Middleware());
  EXPECT_TRUE(flag);
}

TEST_F(Main, TheAgentIsToldTheNameOfTheProgram) {
  Run();
  EXPECT_EQ(fake::LastAgentInterface().name, "cfm-app");
}

TEST_F(Main, TheClientGetsTheHandleAndTheReceiver) {
  Run();
  EXPECT_EQ(client_middleware_, fake::Middleware());
  EXPECT_NE(receiver_, nullptr);
}

// The client may report before anybody listens. The handler for status puts
// the wipe off while it is built.
TEST_F(Main, AnInvalidationInsideTheClientsConstructorIsSurvived) {
  fake::OnClientConstruction([this](velmw_t*, cfm::ReceivedInformationHandler* receiver) {
    receiver_ = dynamic_cast<cfm::StatusReceiver*>(receiver);
    receiver->HandleStatusInvalidated();
  });
  EXPECT_EQ(Run(), 0);
  std::vector<std::string> expected(std::begin(kFromStartToEnd), std::end(kFromStartToEnd));
  expected.insert(std::find(expected.begin(), expected.end(), "zlog Status handling initialized"),
                  "zlog ConfD not ready, scheduling an InvalidateAllStatus in ConfD connection");
  EXPECT_EQ(fake::Events(), expected);
}

TEST_F(Main, AClientThatCannotBeBuiltEndsMainByItsExceptionAndTheReceiverIsDestroyed) {
  fake::OnClientConstruction([this](velmw_t*, cfm::ReceivedInformationHandler* receiver) {
    receiver_ = dynamic_cast<cfm::StatusReceiver*>(receiver);
    WatchReceiver();
    throw std::runtime_error("no loop to work in");
  });
  EXPECT_THROW(Run(), std::runtime_error);
  EXPECT_THAT(fake::Events(), ElementsAre("velmw_init cfm-app", "Client", "~StatusReceiver"));
}

TEST_F(Main, AnAppThatCannotBeBuiltEndsMainByItsExceptionAndTheReceiverIsDestroyed) {
  fake::FailNextAgentInterface();
  fake::OnClientDestruction([this] { WatchReceiver(); });
  EXPECT_THROW(Run(), std::runtime_error);
  fake::Events().erase(fake::Events().begin(),
                       std::find(fake::Events().begin(), fake::Events().end(), "~ConfigHandler"));
  EXPECT_THAT(fake::Events(), ElementsAre("~ConfigHandler", "~Client", "~StatusReceiver"));
  EXPECT_THAT(fake::Faults(), IsEmpty());
}

class App : public PlatformTest {
 protected:
  std::unique_ptr<cfm::App> MakeApp() {
    return std::make_unique<cfm::App>(fake::Middleware(), "another name", &client_, &receiver_);
  }

  // Reads a statistics leaf of a local record through the first callpoint of
  // the application's data handler.
  static int ReadMepCcmsSent(long long key) {
    confd_trans_ctx transaction = Transaction(7);
    confd_hkeypath_t keypath = Keypath({Tag(cfm::tag::kMepCcmsSent), Int64(key)});
    return fake::LastAgentInterface().data_handlers[0]->GetCallpoints().front()->GetElemCallback(
        &transaction, &keypath);
  }

  cfm::StatusReceiver receiver_;
  cfm::Client client_{fake::Middleware(), &receiver_};
};

TEST_F(App, TheFrameworkGetsOneHandlerOfEachKind) {
  const auto app = MakeApp();
  const fake::AgentInterface& agent = fake::LastAgentInterface();
  EXPECT_EQ(agent.middleware, fake::Middleware());
  EXPECT_EQ(agent.log, fake::Category());
  EXPECT_EQ(agent.name, "another name");
  EXPECT_EQ(static_cast<int>(agent.phase), 2);
  EXPECT_EQ(agent.option, 0);
  ASSERT_EQ(agent.config_handlers.size(), 1u);
  ASSERT_EQ(agent.action_handlers.size(), 1u);
  ASSERT_EQ(agent.data_handlers.size(), 1u);
  EXPECT_NE(dynamic_cast<cfm::Config*>(agent.config_handlers[0]), nullptr);
  EXPECT_NE(dynamic_cast<cfm::Actions*>(agent.action_handlers[0]), nullptr);
  EXPECT_NE(dynamic_cast<cfm::Status*>(agent.data_handlers[0]), nullptr);
}

TEST_F(App, TheLogCategoryIsThatOfTheApplicationsNameWhateverTheAgentIsTold) {
  const auto app = MakeApp();
  EXPECT_THAT(fake::Events(), Contains("velmw_trace_init cfm-app"));
}

TEST_F(App, StartAndEndAreLoggedUnderTheirFixedLines) {
  MakeApp().reset();
  const fake::LogRecord& started = fake::Logs().at(3);
  EXPECT_EQ(started.text, "The application is up and running");
  EXPECT_EQ(started.level, 10);
  EXPECT_EQ(started.file, "app.cpp");
  EXPECT_EQ(started.function, "App");
  EXPECT_EQ(started.line, 19);
  const fake::LogRecord& finished = fake::Logs().back();
  EXPECT_EQ(finished.text, "The application was finished");
  EXPECT_EQ(finished.level, 10);
  EXPECT_EQ(finished.file, "app.cpp");
  EXPECT_EQ(finished.function, "~App");
  EXPECT_EQ(finished.line, 28);
}

TEST_F(App, TheHandlersUseTheClientThatItWasGiven) {
  const auto app = MakeApp();
  fake::LastAgentInterface().config_handlers[0]->ApplyInitialConfig();
  EXPECT_EQ(fake::Applied().size(), 1u);
  EXPECT_EQ(fake::LastAgentInterface().action_handlers[0]->ActionCb(nullptr, nullptr, nullptr,
                                                                    nullptr, 0),
            CONFD_OK);
  EXPECT_EQ(fake::ClearRequests().size(), 1u);
}

TEST_F(App, AReadOfStatisticsAsksTheClientThatItWasGiven) {
  const auto app = MakeApp();
  receiver_.HandleStatusLocalMep("A", "x", 5, {});
  fake::SetUptime(1000);
  EXPECT_EQ(ReadMepCcmsSent(0), CONFD_DELAYED_RESPONSE);
  EXPECT_EQ(fake::StatisticsRequests(), 1);
}

TEST_F(App, TheActionClearsTheStatisticsThatAreRead) {
  const auto app = MakeApp();
  receiver_.HandleStatusLocalMep("A", "x", 5, {});
  fake::SetUptime(1000);
  receiver_.HandleStatisticsLocalMep("A", "x", 5, {});
  EXPECT_EQ(ReadMepCcmsSent(0), CONFD_OK);
  fake::LastAgentInterface().action_handlers[0]->ActionCb(nullptr, nullptr, nullptr, nullptr, 0);
  EXPECT_EQ(ReadMepCcmsSent(0), CONFD_DELAYED_RESPONSE);
}

TEST_F(App, EveryHandlerLogsInTheApplicationsCategory) {
  MakeApp().reset();
  EXPECT_THAT(fake::LogTexts(),
              ElementsAre("10 config.cpp Config: CFM configuration handler initialized",
                          "10 status.cpp Status: Status handling initialized",
                          "10 status.cpp Actions: Actions handler initialized",
                          "10 app.cpp App: The application is up and running",
                          "10 config.cpp ~Config: CFM configuration handler finished",
                          "10 app.cpp ~App: The application was finished"));
}

TEST_F(App, TheBaseOfTheActionHandlerKnowsTheCategory) {
  const auto app = MakeApp();
  EXPECT_EQ(fake::LastAgentInterface().action_handler_log, fake::Category());
}

// An invalidation after the end reaches nobody and is remembered.
TEST_F(App, ClientAndReceiverAreLeftAlone) {
  MakeApp().reset();
  EXPECT_EQ(fake::LiveClient(), &client_);
  EXPECT_THAT(fake::Events(), Not(Contains("~Client")));
  fake::Events().clear();
  receiver_.HandleStatusInvalidated();
  EXPECT_THAT(fake::Events(), IsEmpty());
  receiver_.Register({}, {}, {}, {}, {}, {}, {}, [] { fake::Event("invalidated"); });
  EXPECT_THAT(fake::Events(), ElementsAre("invalidated"));
}

TEST_F(App, WhatWasBuiltIsTakenDownWhenTheFrameworkCannotBeBuilt) {
  fake::FailNextAgentInterface();
  EXPECT_THROW(MakeApp(), std::runtime_error);
  fake::Events().erase(fake::Events().begin(),
                       std::find(fake::Events().begin(), fake::Events().end(), "AppInterface"));
  EXPECT_THAT(fake::Events(),
              ElementsAre("AppInterface", "~ActionHandler", "~Callpoint", "~Callpoint",
                          "~Callpoint", "~Callpoint", "~Callpoint", "~Callpoint", "~Callpoint",
                          "~Callpoint", "~Callpoint", "~Callpoint", "~Callpoint", "~StatusHandler",
                          "zlog CFM configuration handler finished", "~ConfigHandler"));
}

// Freed memory is poisoned under the address sanitizer, and handed out again
// at once for the same size by the plain allocator.
bool IsFreed(const void* memory, [[maybe_unused]] std::size_t size) {
#ifdef CFM_TEST_ASAN
  return __asan_address_is_poisoned(memory) != 0;
#else
  std::vector<std::unique_ptr<char[]> > blocks;
  for (int i = 0; i < 16; ++i) {
    blocks.push_back(std::make_unique<char[]>(size));
    if (blocks.back().get() == memory) {
      return true;
    }
  }
  return false;
#endif
}

TEST_F(App, TheStorageOfTheConfigurationHandlerIsNotHandedBack) {
  auto app = MakeApp();
  const void* const config = fake::LastAgentInterface().config_handlers[0];
  const void* const status = fake::LastAgentInterface().data_handlers[0];
  app.reset();
  EXPECT_FALSE(IsFreed(config, sizeof(cfm::Config)));
  EXPECT_TRUE(IsFreed(status, sizeof(cfm::Status)));
}

}  // namespace
}  // namespace test
