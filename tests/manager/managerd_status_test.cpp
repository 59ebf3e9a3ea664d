// Managers as processes of their own, with ports: what they tell their clients
// of MEPs. Real time passes, at one CCM a second.
#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "manager.pb.h"
#include "peer.h"
#include "process.h"
#include "random_hierarchy.h"
#include "status_codec.h"
#include "temporary_directory.h"

namespace {

using cfm::manager::FromClient;
using cfm::manager::FromManager;

using testing::ElementsAre;
using testing::HasSubstr;

constexpr std::uint32_t kPort = 1;

// The MEP on kPort, down, in MA `blue` of MD `east`, which it shares with MEPs
// of other elements.
cfm::Hierarchy OneMep(std::uint16_t id, std::set<std::uint16_t> members) {
  cfm::Hierarchy hierarchy = test::RegularHierarchy("east", 1, 1, kPort);
  auto ma = hierarchy["east"].mas.extract("ma0");
  ma.key() = "blue";
  cfm::hierarchy_mep mep = ma.mapped().meps.begin()->second;
  mep.ma = "blue";
  mep.mep_id = id;
  mep.direction = cfm::MepDirection::kDown;
  ma.mapped().meps = {{id, mep}};
  ma.mapped().association.mep_ids = std::move(members);
  hierarchy["east"].mas.insert(std::move(ma));
  return hierarchy;
}

std::string TextOf(const cfm::manager::MepName& name) {
  return name.remote_mep() == 0 ? fmt::format("{} {}", name.ma(), name.mep())
                                : fmt::format("{} {}/{}", name.ma(), name.mep(), name.remote_mep());
}

std::string TextOf(const FromManager& message) {
  switch (message.message_case()) {
    case FromManager::kApplied:
      return fmt::format("applied {}", message.applied().number());
    case FromManager::kLocalStatus:
      return "local " + TextOf(message.local_status().name());
    case FromManager::kRemoteStatus:
      return "remote " + TextOf(message.remote_status().name());
    case FromManager::kRemoved:
      return "removed " + TextOf(message.removed());
    case FromManager::kLocalStatistics:
      return "statistics " + TextOf(message.local_statistics().name());
    case FromManager::kRemoteStatistics:
      return "statistics " + TextOf(message.remote_statistics().name());
    case FromManager::kStatisticsFinished:
      return fmt::format("finished {}", message.statistics_finished().number());
    case FromManager::kResendStarts:
      return fmt::format("resend {}", message.resend_starts().number());
    default:
      return "something else";
  }
}

// One element: a manager process in a directory of its own, and its client.
class Element {
 public:
  Element(const std::filesystem::path& directory, const std::string& interface_table,
          const std::vector<std::string>& command = {CFM_MANAGERD})
      : directory_(directory), command_(command) {
    std::filesystem::create_directory(directory);
    std::ofstream(directory / "interfaces") << interface_table;
    Start();
  }

  void Start() {
    process.reset();
    process = std::make_unique<test::Process>(
        command_,
        test::Process::Options{.environment = {{"CFM_RUNTIME_DIR", directory_},
                                               {"CFM_INTERFACES", directory_ / "interfaces"},
                                               {"CFM_LOG", "stderr"}},
                               .directory = directory_,
                               .name = "managerd"});
    EXPECT_TRUE(process->AwaitReady()) << process->Log();
    Connect();
  }
  void Connect() {
    client = std::make_unique<test::Peer>(directory_ / "cfm-managerd.sock");
    client->SayHello(1, cfm::manager::ROLE_CONFIGURE, "cfm-app");
    EXPECT_EQ(client->HelloError(), "");
  }
  void Kill() {
    process->Signal(SIGKILL);
    EXPECT_EQ(process->AwaitExit(), 128 + SIGKILL);
  }
  void Configure(std::uint64_t number, const cfm::Hierarchy& hierarchy) const {
    client->SendConfiguration(number, hierarchy);
  }
  // Reads on until the remote MEP is in that state.
  bool AwaitRemote(cfm::en_rmep_state state) const {
    return client
        ->Await([&](const FromManager& message) {
          return message.has_remote_status() && message.remote_status().state() == state;
        })
        .has_value();
  }
  // Reads on until the local MEP has, or has not, that defect.
  bool AwaitDefect(int index, bool present) const {
    return client
        ->Await([&](const FromManager& message) {
          return message.has_local_status() && message.local_status().defects(index) == present;
        })
        .has_value();
  }
  // What comes up to and with the message of that text.
  std::vector<std::string> ReadThrough(const std::string& last) const {
    std::vector<std::string> texts;
    client->Await([&](const FromManager& message) {
      texts.push_back(TextOf(message));
      return texts.back() == last;
    });
    return texts;
  }
  // Statistics by record.
  std::map<std::string, FromManager> Statistics(std::uint64_t number) const {
    client->RequestStatistics(number);
    std::map<std::string, FromManager> statistics;
    client->Await([&](const FromManager& message) {
      statistics[TextOf(message)] = message;
      return message.has_statistics_finished();
    });
    return statistics;
  }

  std::unique_ptr<test::Process> process;
  std::unique_ptr<test::Peer> client;

 private:
  std::filesystem::path directory_;
  std::vector<std::string> command_;
};

constexpr int kRemoteCcmDefect = 2;

class TwoManagers : public testing::Test {
 protected:
  std::string Table() const {
    return fmt::format("w {} wire {}\n", kPort, (directory_.Path() / "wire").native());
  }
  void BringUp() {
    left_.Configure(1, OneMep(1, {1, 2}));
    right_.Configure(1, OneMep(2, {1, 2}));
    ASSERT_TRUE(left_.AwaitRemote(cfm::RMEP_OK));
    ASSERT_TRUE(right_.AwaitRemote(cfm::RMEP_OK));
  }

  test::TemporaryDirectory directory_;
  Element left_{directory_.Path() / "left", Table()};
  Element right_{directory_.Path() / "right", Table()};
};

TEST_F(TwoManagers, SeeEachOtherAndTheLossOfOne) {
  BringUp();
  right_.Kill();
  EXPECT_TRUE(left_.AwaitRemote(cfm::RMEP_FAILED));
  EXPECT_TRUE(left_.AwaitDefect(kRemoteCcmDefect, true));
  EXPECT_THAT(left_.process->Log(), HasSubstr("port w is down: "));
  right_.Start();
  right_.Configure(1, OneMep(2, {1, 2}));
  EXPECT_TRUE(left_.AwaitRemote(cfm::RMEP_OK));
  EXPECT_TRUE(left_.AwaitDefect(kRemoteCcmDefect, false));
}

TEST_F(TwoManagers, SeeACutOnBothSidesAndThatItIsMended) {
  BringUp();
  std::ofstream(directory_.Path() / "wire.cut") << "";
  for (const Element* element : {&left_, &right_}) {
    EXPECT_TRUE(element->AwaitRemote(cfm::RMEP_FAILED));
    EXPECT_TRUE(element->AwaitDefect(kRemoteCcmDefect, true));
  }
  std::filesystem::remove(directory_.Path() / "wire.cut");
  for (const Element* element : {&left_, &right_}) {
    EXPECT_TRUE(element->AwaitRemote(cfm::RMEP_OK));
    EXPECT_TRUE(element->AwaitDefect(kRemoteCcmDefect, false));
  }
}

TEST_F(TwoManagers, CountAndClear) {
  BringUp();
  auto statistics = left_.Statistics(7);
  EXPECT_GE(statistics["statistics blue 1"].local_statistics().counter1(), 1U);
  EXPECT_GE(statistics["statistics blue 1"].local_statistics().counter2(), 1U);
  EXPECT_GE(statistics["statistics blue 1/2"].remote_statistics().rmep_counter(), 1U);
  EXPECT_EQ(statistics["finished 7"].statistics_finished().number(), 7U);

  // So that nothing is counted in between.
  right_.Kill();
  ASSERT_TRUE(left_.AwaitRemote(cfm::RMEP_FAILED));
  FromClient clear;
  clear.mutable_clear_statistics()->set_ma("green");
  left_.client->Send(clear);
  statistics = left_.Statistics(8);
  EXPECT_GE(statistics["statistics blue 1/2"].remote_statistics().rmep_counter(), 1U);
  clear.mutable_clear_statistics()->set_ma("blue");
  left_.client->Send(clear);
  statistics = left_.Statistics(9);
  EXPECT_EQ(statistics["statistics blue 1/2"].remote_statistics().rmep_counter(), 0U);
  EXPECT_EQ(statistics["statistics blue 1"].local_statistics().counter2(), 0U);
}

class OneManager : public testing::Test {
 protected:
  test::TemporaryDirectory directory_;
  Element element_{directory_.Path() / "element",
                   fmt::format("w {} wire {}\n", kPort, (directory_.Path() / "wire").native())};
};

TEST_F(OneManager, TellsEverythingAfterTheFirstConfigurationAndThenChanges) {
  element_.Configure(1, OneMep(1, {1, 2, 3}));
  EXPECT_THAT(element_.ReadThrough("remote blue 1/3"),
              ElementsAre("applied 1", "local blue 1", "remote blue 1/2", "remote blue 1/3"));
  element_.Configure(2, OneMep(1, {1, 2}));
  EXPECT_THAT(element_.ReadThrough("applied 2"), ElementsAre("removed blue 1/3", "applied 2"));
  element_.Configure(3, {});
  EXPECT_THAT(element_.ReadThrough("applied 3"),
              ElementsAre("removed blue 1/2", "removed blue 1", "applied 3"));
}

TEST_F(OneManager, TellsANewClientOnlyOfWhatItConfigured) {
  element_.Configure(1, OneMep(1, {1, 2}));
  element_.ReadThrough("applied 1");
  element_.Connect();
  FromClient resend;
  resend.mutable_resend_status()->set_number(4);
  element_.client->Send(resend);
  EXPECT_THAT(element_.ReadThrough("resend 4"), ElementsAre("resend 4"));
  element_.Configure(1, OneMep(5, {5, 6}));
  EXPECT_THAT(element_.ReadThrough("remote blue 5/6"),
              ElementsAre("applied 1", "local blue 5", "remote blue 5/6"));
}

TEST_F(OneManager, SendsEverythingAgain) {
  element_.Configure(1, OneMep(1, {1, 2}));
  element_.ReadThrough("remote blue 1/2");
  FromClient resend;
  resend.mutable_resend_status()->set_number(4);
  element_.client->Send(resend);
  element_.ReadThrough("resend 4");
  EXPECT_THAT(element_.ReadThrough("remote blue 1/2"),
              ElementsAre("local blue 1", "remote blue 1/2"));
}

TEST_F(OneManager, AnswersStatisticsBeforeTheRemovalThatWasAskedForAfterThem) {
  element_.Configure(1, OneMep(1, {1, 2}));
  element_.client->RequestStatistics(1);
  element_.Configure(2, {});
  element_.client->RequestStatistics(2);
  element_.ReadThrough("remote blue 1/2");
  EXPECT_THAT(element_.ReadThrough("finished 2"),
              ElementsAre("statistics blue 1", "statistics blue 1/2", "finished 1",
                          "removed blue 1/2", "removed blue 1", "applied 2", "finished 2"));
}

TEST_F(OneManager, AClientThatDoesNotReadGetsItsAnswersLaterInOrder) {
  // As many as a socket takes that nobody reads: the manager may do that at once.
  constexpr std::uint64_t kRequests = 200;
  cfm::Hierarchy hierarchy = test::RegularHierarchy("east", 300, 2, kPort);
  element_.Configure(1, hierarchy);
  for (std::uint64_t number = 1; number <= kRequests; ++number) {
    element_.client->RequestStatistics(number);
  }
  element_.Configure(2, {});
  // Others are served meanwhile.
  test::Peer observer(directory_.Path() / "element" / "cfm-managerd.sock");
  observer.SayHello(1, cfm::manager::ROLE_OBSERVE, "observer");
  EXPECT_EQ(observer.HelloError(), "");
  EXPECT_TRUE(observer.Receive().has_configuration());

  std::vector<std::uint64_t> finished;
  std::size_t removed = 0;
  element_.client->Await([&](const FromManager& message) {
    if (message.has_statistics_finished()) {
      EXPECT_EQ(removed, 0U);
      finished.push_back(message.statistics_finished().number());
    }
    removed += message.has_removed() ? 1 : 0;
    return message.has_applied() && message.applied().number() == 2;
  });
  ASSERT_EQ(finished.size(), kRequests);
  EXPECT_TRUE(std::is_sorted(finished.begin(), finished.end()));
  EXPECT_EQ(removed, 600U);
}

TEST_F(OneManager, ShowsThatItsPortIsDown) {
  element_.Configure(1, OneMep(1, {1, 2}));
  const auto status =
      element_.client->Await([](const FromManager& message) { return message.has_local_status(); });
  ASSERT_TRUE(status);
  EXPECT_EQ(status->local_status().tx_interface_status(),
            static_cast<int>(cfm::InterfaceStatus::kIsDown));
}

TEST_F(OneManager, RefusesToClearAMepThatCannotBe) {
  FromClient clear;
  clear.mutable_clear_statistics()->set_mep(65536);
  element_.client->Send(clear);
  EXPECT_TRUE(element_.client->IsClosed());
  element_.Connect();  // the line is written by then
  EXPECT_THAT(element_.process->Log(), HasSubstr("no MEP has that id"));
}

// With the privileges that are needed taken away.
TEST(LinuxPortOfAManager, IsDownWithoutTheRightToUseIt) {
  std::vector<std::string> command{CFM_MANAGERD};
  if (geteuid() == 0) {
    command = {"setpriv", "--bounding-set=-net_raw", CFM_MANAGERD};
  }
  const test::TemporaryDirectory directory;
  const Element element(directory.Path() / "element", fmt::format("lo {} linux\n", kPort), command);
  element.Configure(1, OneMep(1, {1, 2}));
  const auto status =
      element.client->Await([](const FromManager& message) { return message.has_local_status(); });
  ASSERT_TRUE(status);
  EXPECT_EQ(status->local_status().tx_interface_status(),
            static_cast<int>(cfm::InterfaceStatus::kIsDown));
  EXPECT_THAT(element.process->Log(),
              HasSubstr("port lo (device lo) is down: open a packet socket: Operation not "
                        "permitted: give cfm-managerd the capability CAP_NET_RAW"));
}

}  // namespace
