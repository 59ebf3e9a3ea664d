// The manager as a process of its own, talked to as its clients do.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "hierarchy_codec.h"
#include "manager.pb.h"
#include "peer.h"
#include "process.h"
#include "random_hierarchy.h"
#include "temporary_directory.h"

namespace {

using cfm::manager::ROLE_CONFIGURE;
using cfm::manager::ROLE_OBSERVE;
using test::Peer;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

// What an observer is shown at once.
struct Shown {
  std::uint64_t number;
  cfm::Hierarchy hierarchy;
  cfm::manager::Applied applied;
};

class ManagerdTest : public testing::Test {
 protected:
  void SetUp() override {
    WriteInterfaces("wan0 1 linux\n");
    StartManager();
  }

  void StartManager() {
    process_.reset();
    process_ = std::make_unique<test::Process>(
        std::vector<std::string>{CFM_MANAGERD},
        test::Process::Options{
            .environment = Environment(), .directory = directory_.Path(), .name = "managerd"});
    ASSERT_TRUE(process_->AwaitReady()) << process_->Log();
  }
  void WriteInterfaces(const std::string& table) const {
    std::ofstream(directory_.Path() / "interfaces") << table;
  }
  std::map<std::string, std::string> Environment() const {
    return {{"CFM_RUNTIME_DIR", directory_.Path()},
            {"CFM_INTERFACES", directory_.Path() / "interfaces"},
            {"CFM_LOG", "stderr"}};
  }
  std::filesystem::path Socket() const { return directory_.Path() / "cfm-managerd.sock"; }

  std::unique_ptr<Peer> Connect(int role, const std::string& name) {
    auto peer = std::make_unique<Peer>(Socket());
    peer->SayHello(1, role, name);
    EXPECT_EQ(peer->HelloError(), "");
    return peer;
  }
  static Shown ReadShown(Peer& observer) {
    const cfm::manager::FromManager message = observer.Receive();
    EXPECT_TRUE(message.has_configuration());
    return {.number = message.configuration().number(),
            .hierarchy = cfm::DecodeHierarchy(message.configuration()),
            .applied = observer.ReceiveApplied()};
  }
  Shown Observe() { return ReadShown(*Connect(ROLE_OBSERVE, "observer")); }
  // The log, with everything in it that happened before.
  std::string SettledLog() {
    Observe();
    return process_->Log();
  }

  test::TemporaryDirectory directory_;
  std::unique_ptr<test::Process> process_;
};

TEST_F(ManagerdTest, ShowsAnEmptyConfigurationBeforeOneIsGiven) {
  const Shown shown = Observe();
  EXPECT_EQ(shown.number, 0U);
  EXPECT_TRUE(shown.hierarchy.empty());
  EXPECT_EQ(shown.applied.number(), 0U);
}

TEST_F(ManagerdTest, KeepsAndShowsWhatItWasGiven) {
  const cfm::Hierarchy hierarchy = test::RegularHierarchy("east", 3, 4);
  const auto client = Connect(ROLE_CONFIGURE, "cfm-app");
  client->SendConfiguration(7, hierarchy);
  const auto applied = client->ReceiveApplied();
  EXPECT_EQ(applied.number(), 7U);
  EXPECT_EQ(applied.warnings_size(), 0);

  const Shown shown = Observe();
  EXPECT_EQ(shown.number, 7U);
  EXPECT_TRUE(shown.hierarchy == hierarchy);
  EXPECT_THAT(process_->Log(),
              HasSubstr("configuration 7: 1 MDs (+1 -0 ~0), 3 MAs (+3 -0 ~0), 12 MEPs (+12 -0 ~0) "
                        "of cfm-app (process " +
                        std::to_string(getpid()) + ")"));
}

TEST_F(ManagerdTest, WarnsOfMepsOnInterfacesThatTheElementDoesNotHave) {
  cfm::Hierarchy hierarchy = test::RegularHierarchy("east", 1, 3);
  hierarchy["east"].mas["ma0"].meps[1].logical_interface_id = 0;
  hierarchy["east"].mas["ma0"].meps[3].logical_interface_id = 99;
  const auto client = Connect(ROLE_CONFIGURE, "cfm-app");
  client->SendConfiguration(1, hierarchy);
  const auto applied = client->ReceiveApplied();
  EXPECT_THAT(applied.warnings(),
              ElementsAre("MEP 1 of MA ma0 of MD east: no interface with logical id 0",
                          "MEP 3 of MA ma0 of MD east: no interface with logical id 99"));
  const Shown shown = Observe();
  EXPECT_TRUE(shown.hierarchy == hierarchy);
  EXPECT_EQ(shown.applied.warnings_size(), 2);
}

TEST_F(ManagerdTest, KnowsInterfacesThatTheElementGotMeanwhile) {
  const cfm::Hierarchy hierarchy = test::RegularHierarchy("east", 1, 1, 42);
  const auto client = Connect(ROLE_CONFIGURE, "cfm-app");
  client->SendConfiguration(1, hierarchy);
  EXPECT_EQ(client->ReceiveApplied().warnings_size(), 1);
  WriteInterfaces("wan0 1 linux\nwan42 42 linux\n");
  client->SendConfiguration(2, hierarchy);
  EXPECT_EQ(client->ReceiveApplied().warnings_size(), 0);
}

TEST_F(ManagerdTest, RunsWithoutInterfacesWhenTheTableCannotBeUsed) {
  WriteInterfaces("wan0 one linux\n");
  const auto client = Connect(ROLE_CONFIGURE, "cfm-app");
  client->SendConfiguration(1, test::RegularHierarchy("east", 1, 1));
  EXPECT_EQ(client->ReceiveApplied().warnings_size(), 1);
  EXPECT_THAT(process_->Log(), HasSubstr("the element has no interfaces: "));
  WriteInterfaces("wan0 1 linux\n");
  client->SendConfiguration(2, test::RegularHierarchy("east", 1, 1));
  EXPECT_EQ(client->ReceiveApplied().warnings_size(), 0);
}

TEST_F(ManagerdTest, AnObserverSeesEveryChange) {
  const auto observer = Connect(ROLE_OBSERVE, "observer");
  EXPECT_EQ(ReadShown(*observer).number, 0U);
  const auto client = Connect(ROLE_CONFIGURE, "cfm-app");
  for (const std::uint64_t number : {1, 2}) {
    const cfm::Hierarchy hierarchy = test::RegularHierarchy("east", static_cast<int>(number), 1);
    client->SendConfiguration(number, hierarchy);
    const Shown shown = ReadShown(*observer);
    EXPECT_EQ(shown.number, number);
    EXPECT_TRUE(shown.hierarchy == hierarchy);
    EXPECT_EQ(shown.applied.number(), number);
  }
}

TEST_F(ManagerdTest, AnObserverMayDoWithoutTheConfiguration) {
  const auto observer = std::make_unique<Peer>(Socket());
  observer->SayHello(1, ROLE_OBSERVE, "stopwatch", Peer::kAppliedOnly);
  EXPECT_EQ(observer->HelloError(), "");
  const auto client = Connect(ROLE_CONFIGURE, "cfm-app");
  client->SendConfiguration(7, test::RegularHierarchy("east", 1, 1));
  for (const std::uint64_t number : {0, 7}) {
    const cfm::manager::FromManager message = observer->Receive();
    ASSERT_TRUE(message.has_applied());
    EXPECT_EQ(message.applied().number(), number);
  }
}

TEST_F(ManagerdTest, KeepsTheConfigurationWhenTheClientIsGone) {
  auto client = Connect(ROLE_CONFIGURE, "cfm-app");
  client->SendConfiguration(1, test::RegularHierarchy("east", 1, 1));
  client->ReceiveApplied();
  client.reset();
  EXPECT_THAT(SettledLog(), HasSubstr("configuration 1 stays in force"));
  EXPECT_EQ(Observe().number, 1U);
}

TEST_F(ManagerdTest, ANewClientTakesOver) {
  const auto old_client = Connect(ROLE_CONFIGURE, "old");
  old_client->SendConfiguration(5, test::RegularHierarchy("east", 1, 1));
  old_client->ReceiveApplied();
  const auto new_client = Connect(ROLE_CONFIGURE, "new");
  EXPECT_TRUE(old_client->IsClosed());
  EXPECT_EQ(Observe().number, 5U);
  new_client->SendConfiguration(1, test::RegularHierarchy("west", 1, 1));
  EXPECT_EQ(new_client->ReceiveApplied().number(), 1U);
  EXPECT_EQ(Observe().hierarchy.begin()->first, "west");
  EXPECT_THAT(process_->Log(), HasSubstr("the connection of old (process "));
}

TEST_F(ManagerdTest, RefusesAnotherVersion) {
  Peer peer(Socket());
  peer.SayHello(2, ROLE_CONFIGURE, "tomorrow");
  EXPECT_THAT(peer.HelloError(), HasSubstr("version 2 of the protocol is not spoken here, only 1"));
  EXPECT_TRUE(peer.IsClosed());
  EXPECT_THAT(SettledLog(), HasSubstr("version 2 of the protocol"));
}

TEST_F(ManagerdTest, RefusesAnUnknownRole) {
  Peer peer(Socket());
  peer.SayHello(1, 9, "stranger");
  EXPECT_EQ(peer.HelloError(), "role 9 is not known");
  EXPECT_TRUE(peer.IsClosed());
}

TEST_F(ManagerdTest, RefusesAFirstFrameThatIsNoHello) {
  Peer peer(Socket());
  peer.SendBytes(std::string("\0\0\0\3\xff\xff\xff", 7));
  EXPECT_THAT(peer.HelloError(), HasSubstr("is no cfm.manager.Hello"));
  EXPECT_TRUE(peer.IsClosed());
}

TEST_F(ManagerdTest, AnObserverMayNotConfigure) {
  const auto observer = Connect(ROLE_OBSERVE, "curious");
  ReadShown(*observer);
  observer->SendConfiguration(1, {});
  EXPECT_TRUE(observer->IsClosed());
  EXPECT_THAT(SettledLog(), HasSubstr("may only observe"));
}

TEST_F(ManagerdTest, RefusesAConfigurationThatCannotBeAndKeepsTheOneBefore) {
  const auto client = Connect(ROLE_CONFIGURE, "cfm-app");
  client->SendConfiguration(1, test::RegularHierarchy("east", 1, 1));
  client->ReceiveApplied();
  cfm::Hierarchy wrong = test::RegularHierarchy("east", 1, 1);
  wrong["east"].mas["ma0"].meps[1].direction = static_cast<cfm::MepDirection>(9);
  client->SendConfiguration(2, wrong);
  EXPECT_TRUE(client->IsClosed());
  EXPECT_EQ(Observe().number, 1U);
  EXPECT_THAT(process_->Log(), HasSubstr("MEP 1 of MA ma0 of MD east: direction has no value 9"));
}

// What a client must not send once it is welcome, and the manager's line.
struct Garbage {
  const char* name;
  std::string bytes;
  const char* line;
};

void PrintTo(const Garbage& garbage, std::ostream* out) {
  *out << garbage.name;
}

class ManagerdGarbageTest : public ManagerdTest, public testing::WithParamInterface<Garbage> {};

TEST_P(ManagerdGarbageTest, EndsThatConnectionOnly) {
  const auto observer = Connect(ROLE_OBSERVE, "bystander");
  ReadShown(*observer);
  {
    const auto client = Connect(ROLE_CONFIGURE, "broken");
    client->SendConfiguration(1, test::RegularHierarchy("east", 1, 1));
    client->ReceiveApplied();
    EXPECT_EQ(ReadShown(*observer).number, 1U);
    client->SendBytes(GetParam().bytes);
    client->EndSending();
    EXPECT_TRUE(client->IsClosed());
  }
  const auto next = Connect(ROLE_CONFIGURE, "well");
  next->SendConfiguration(2, test::RegularHierarchy("west", 1, 1));
  EXPECT_EQ(next->ReceiveApplied().number(), 2U);
  EXPECT_EQ(ReadShown(*observer).number, 2U);
  EXPECT_THAT(process_->Log(), HasSubstr(GetParam().line));
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, ManagerdGarbageTest,
    testing::Values(Garbage{"Oversized", std::string("\xff\xff\xff\xff", 4), "4294967295 bytes"},
                    Garbage{"NoProtobuf", std::string("\0\0\0\3\xff\xff\xff", 7),
                            "frame of 3 bytes is no cfm.manager.FromClient"},
                    Garbage{"NoKind", std::string("\0\0\0\0", 4), "a message of no known kind"},
                    Garbage{"CutOffInTheLength", std::string("\0\0", 2), "within a frame"},
                    Garbage{"CutOffInThePayload", std::string("\0\0\1\0abc", 7), "within a frame"}),
    [](const auto& kind) { return std::string(kind.param.name); });

TEST_F(ManagerdTest, ANameThatIsNoTextIsALineOfTheLogAndNothingElse) {
  Peer client(Socket());
  client.SendBytes(std::string("\0\0\0\3\x1a\x01\xff", 7));  // Hello.name
  EXPECT_TRUE(client.IsClosed());
  EXPECT_TRUE(process_->AwaitLog(
      "frame of 3 bytes is no cfm.manager.Hello: String field contains invalid"));
  EXPECT_THAT(process_->Log(), Not(HasSubstr("libprotobuf")));
}

TEST_F(ManagerdTest, AClientThatDoesNotReadDisturbsNobody) {
  const auto deaf = Connect(ROLE_OBSERVE, "deaf");
  const auto client = Connect(ROLE_CONFIGURE, "cfm-app");
  const cfm::Hierarchy large = test::RegularHierarchy("east", 1000, 8);
  for (std::uint64_t number = 1; number <= 5; ++number) {
    client->SendConfiguration(number, large);
    EXPECT_EQ(client->ReceiveApplied().number(), number);
    // Who sends without reading all that it is sent would wait for ever.
    client->RequestStatistics(number);
    EXPECT_TRUE(
        client->Await([](const auto& message) { return message.has_statistics_finished(); }));
  }
  EXPECT_EQ(Observe().number, 5U);
}

TEST_F(ManagerdTest, RunsOncePerDirectory) {
  const test::CommandResult second = test::Run({CFM_MANAGERD}, Environment());
  EXPECT_EQ(second.status, 1);
  EXPECT_THAT(second.error, HasSubstr("cfm-managerd already runs (process " +
                                      std::to_string(process_->Pid()) + ")"));
  EXPECT_EQ(Observe().number, 0U);
}

TEST_F(ManagerdTest, ServesAnotherDirectoryThatTheCommandLineNames) {
  const std::filesystem::path other = directory_.Path() / "other";
  test::Process second(
      {CFM_MANAGERD, "--runtime-dir", other, "--interfaces", directory_.Path() / "interfaces"},
      {.environment = Environment(), .directory = directory_.Path(), .name = "second"});
  ASSERT_TRUE(second.AwaitReady()) << second.Log();
  EXPECT_TRUE(std::filesystem::is_socket(other / "cfm-managerd.sock"));
  EXPECT_EQ(second.Stop(), 0);
}

TEST_F(ManagerdTest, ServesTheWatchdogFromItsLoop) {
  auto environment = Environment();
  environment["WATCHDOG_USEC"] = "50000";
  environment["CFM_RUNTIME_DIR"] = directory_.Path() / "watched";
  test::Process watched(
      {CFM_MANAGERD},
      {.environment = environment, .directory = directory_.Path(), .name = "watched"});
  ASSERT_TRUE(watched.AwaitReady()) << watched.Log();
  for (int i = 0; i < 3; ++i) {
    EXPECT_TRUE(watched.AwaitNotification("WATCHDOG=1"));
  }
}

class ManagerdEndTest : public ManagerdTest, public testing::WithParamInterface<int> {};

TEST_P(ManagerdEndTest, EndsCleanly) {
  const auto client = Connect(ROLE_CONFIGURE, "cfm-app");
  process_->Signal(GetParam());
  EXPECT_EQ(process_->AwaitExit(), 0);
  EXPECT_TRUE(client->IsClosed());
  EXPECT_FALSE(std::filesystem::exists(Socket()));
}

INSTANTIATE_TEST_SUITE_P(Signals, ManagerdEndTest, testing::Values(SIGTERM, SIGINT));

TEST_F(ManagerdTest, StartsAgainAfterItWasKilled) {
  process_->Signal(SIGKILL);
  EXPECT_EQ(process_->AwaitExit(), 128 + SIGKILL);
  StartManager();
  EXPECT_EQ(Observe().number, 0U);
}

TEST(ManagerdCommandLine, ExplainsItself) {
  const test::CommandResult help = test::Run({CFM_MANAGERD, "--help"});
  EXPECT_EQ(help.status, 0);
  EXPECT_THAT(help.output, HasSubstr("--runtime-dir"));
  EXPECT_THAT(help.output, HasSubstr("Examples:"));
  EXPECT_THAT(help.output, HasSubstr("wire"));
  const test::CommandResult version = test::Run({CFM_MANAGERD, "--version"});
  EXPECT_EQ(version.status, 0);
  EXPECT_THAT(version.output, testing::StartsWith("cfm-managerd "));
}

TEST(ManagerdCommandLine, RefusesWhatItDoesNotKnow) {
  const test::CommandResult result = test::Run({CFM_MANAGERD, "--nonsense"});
  EXPECT_EQ(result.status, 2);
  EXPECT_THAT(result.error, testing::MatchesRegex("cfm-managerd: .*--nonsense.*\n"));
}

TEST(ManagerdCommandLine, SaysWhyItCannotStart) {
  const test::CommandResult result = test::Run({CFM_MANAGERD, "--runtime-dir", "/proc/none"});
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.error, HasSubstr("/proc/none"));
}

}  // namespace
