// Reads of status whose answer is not there yet, and what comes in between:
// the reader's end, the manager's end or silence, a clearing, a deletion.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>

#include <filesystem>
#include <iterator>
#include <memory>
#include <numeric>
#include <stdexcept>
#include <string>
#include <vector>

#include "continuity.h"
#include "element.h"
#include "front_end.h"

namespace {

using cfm::agent::Reply;
using test::Association;
using test::Element;
using test::FrontEnd;
using test::ReadOf;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

constexpr const char* kEverything = "/status";
// The first record that a fresh daemon publishes.
constexpr const char* kLocalRecord = "/status/oam/cfm/local[id='0']";
constexpr const char* kSent = "/status/oam/cfm/local[id='0']/mep-ccms-sent";
// What the daemon says when it parks a read.
constexpr const char* kParked = "Requesting it to CFM Manager";
// What the agent says when the daemon is there for reads.
constexpr const char* kRegistered = "data provider cfm-app";

cfm::agent::Request ClearAll() {
  cfm::agent::Request request;
  request.mutable_invoke()->set_operation("clear-statistics");
  return request;
}

// Errors and warnings.
std::vector<std::string> ComplaintsOf(const Reply& reply) {
  std::vector<std::string> complaints(reply.warnings().begin(), reply.warnings().end());
  for (const auto& error : reply.errors()) {
    complaints.push_back(error.message());
  }
  return complaints;
}

// The value of the first leaf of that name; empty when there is none.
std::string LeafOf(const cfm::agent::Node& node, const std::string& name) {
  if (node.name() == name) {
    return node.value();
  }
  for (const cfm::agent::Node& child : node.children()) {
    if (std::string value = LeafOf(child, name); !value.empty()) {
      return value;
    }
  }
  return {};
}

std::ptrdiff_t OpenFiles(const test::Process& process) {
  const std::filesystem::directory_iterator files("/proc/" + std::to_string(process.Pid()) + "/fd");
  return std::distance(begin(files), end(files));
}

class ParkedRead : public testing::Test {
 protected:
  void SetUp() override { Start({}, {.meps = {1}, .remotes = {2}}); }
  // Whatever happened, the daemon lives, reads are answered, and everybody
  // ends cleanly.
  void TearDown() override {
    test::ExpectRecordsSoon(element_);
    EXPECT_THAT(ComplaintsOf(operator_->Call(ReadOf(kEverything))), IsEmpty());
    EXPECT_EQ(element_.Verify().status, 0);
    EXPECT_THAT(element_.Daemon().Log(), Not(HasSubstr("severity=1")));
    for (test::Process* process : {&element_.Daemon(), &element_.Agent(), &element_.Manager()}) {
      EXPECT_EQ(process->Stop(), 0) << process->Log();
    }
  }

  void Start(const std::vector<std::string>& agent_arguments, const Association& association) {
    element_.SetInterfaces(test::TableOfWire(element_.Directory() / "wire"));
    ASSERT_TRUE(element_.StartAgent(agent_arguments).AwaitReady());
    ASSERT_TRUE(element_.StartManager().AwaitReady());
    ASSERT_TRUE(element_.StartDaemon().AwaitReady());
    test::Configure(element_, association);
    test::ExpectRecordsSoon(element_);
    operator_ = std::make_unique<FrontEnd>(element_.RuntimeDirectory());
  }
  std::unique_ptr<FrontEnd> NewReader() const {
    return std::make_unique<FrontEnd>(element_.RuntimeDirectory());
  }
  // The daemon keeps counters for a moment; after that it has to ask.
  void Clear() { EXPECT_THAT(ComplaintsOf(operator_->Call(ClearAll())), IsEmpty()); }
  void FreezeManager() {
    Clear();
    element_.Manager().Freeze();
  }
  void ThawManager() { element_.Manager().Signal(SIGCONT); }
  // Sends a read that waits for the manager's counters, and returns when the
  // daemon has parked it.
  void Park(FrontEnd& reader) {
    const int parked = element_.Daemon().CountInLog(kParked);
    reader.Send(ReadOf(kSent));
    if (!element_.Daemon().AwaitLog(kParked, parked + 1)) {
      throw std::runtime_error("the read was not parked");
    }
  }

  Element element_;
  std::unique_ptr<FrontEnd> operator_;
};

TEST_F(ParkedRead, AReaderThatGoesAwayLeavesNothingBehind) {
  const std::ptrdiff_t agent_files = OpenFiles(element_.Agent());
  const std::ptrdiff_t daemon_files = OpenFiles(element_.Daemon());
  for (int round = 0; round < 10; ++round) {
    FreezeManager();
    {
      const auto reader = NewReader();
      Park(*reader);
    }
    ThawManager();
    EXPECT_THAT(ComplaintsOf(operator_->Call(ReadOf(kSent))), IsEmpty());
  }
  EXPECT_EQ(OpenFiles(element_.Agent()), agent_files);
  EXPECT_EQ(OpenFiles(element_.Daemon()), daemon_files);
}

TEST_F(ParkedRead, AllWaitingReadsAreAnsweredWhenTheManagerGoesOn) {
  FreezeManager();
  const auto first = NewReader();
  const auto second = NewReader();
  Park(*first);
  Park(*second);
  ThawManager();
  for (FrontEnd* reader : {first.get(), second.get()}) {
    const Reply reply = reader->Receive();
    EXPECT_THAT(ComplaintsOf(reply), IsEmpty());
    EXPECT_THAT(LeafOf(reply.node(), "mep-ccms-sent"), Not(IsEmpty()));
  }
}

TEST_F(ParkedRead, AManagerThatDiesLeavesNoReaderWaiting) {
  FreezeManager();
  std::vector<std::unique_ptr<FrontEnd>> readers(3);
  for (auto& reader : readers) {
    reader = NewReader();
    Park(*reader);
  }
  element_.KillManager();
  for (const auto& reader : readers) {
    const Reply reply = reader->Receive();
    EXPECT_TRUE(LeafOf(reply.node(), "mep-ccms-sent") == "0" || reply.errors_size() == 1)
        << reply.ShortDebugString();
    for (const std::string& complaint : ComplaintsOf(reply)) {
      EXPECT_THAT(complaint, HasSubstr("gone"));
    }
  }
  ASSERT_TRUE(element_.StartManager().AwaitReady());
}

TEST_F(ParkedRead, WhatIsClearedWhileReadsWaitHoldsNobodyUpWhenTheManagerDies) {
  FreezeManager();
  const auto reader = NewReader();
  Park(*reader);
  Clear();
  element_.KillManager();
  reader->Receive();
  ASSERT_TRUE(element_.StartManager().AwaitReady());
  test::ExpectRecordsSoon(element_);
  // A read that was left behind would take the answer of this one.
  Clear();
  EXPECT_THAT(ComplaintsOf(operator_->Call(ReadOf(kSent))), IsEmpty());
  EXPECT_THAT(element_.Daemon().Log(), Not(HasSubstr("Error getting data from cache")));
}

TEST_F(ParkedRead, AFloodOfClearingsLeavesWaitingReadsAlone) {
  FreezeManager();
  std::vector<std::unique_ptr<FrontEnd>> readers(5);
  for (auto& reader : readers) {
    reader = NewReader();
    Park(*reader);
    for (int times = 0; times < 20; ++times) {
      Clear();
    }
  }
  ThawManager();
  for (const auto& reader : readers) {
    const Reply reply = reader->Receive();
    EXPECT_THAT(ComplaintsOf(reply), IsEmpty());
    EXPECT_THAT(LeafOf(reply.node(), "mep-ccms-sent"), Not(IsEmpty()));
  }
  EXPECT_THAT(element_.Daemon().Log(), Not(HasSubstr("Error getting data from cache")));
}

TEST_F(ParkedRead, AReadThatWaitsWhileItsMepIsDeletedIsAnswered) {
  FreezeManager();
  const auto reader = NewReader();
  Park(*reader);
  ASSERT_EQ(element_.Cfmctl({"delete", "md{provider}"}).status, 0);
  ThawManager();
  EXPECT_THAT(ComplaintsOf(reader->Receive()), IsEmpty());
  EXPECT_EQ(element_.Verify().status, 0);
  test::Configure(element_, {.meps = {1}, .remotes = {2}});
}

TEST_F(ParkedRead, AnAgentThatDiesWhileReadsWaitFindsADaemonThatAnswers) {
  FreezeManager();
  const auto first = NewReader();
  const auto second = NewReader();
  Park(*first);
  Park(*second);
  const int registered = element_.Agent().CountInLog(kRegistered);
  element_.KillAgent();
  ASSERT_TRUE(element_.StartAgent().AwaitReady());
  ASSERT_TRUE(element_.Agent().AwaitLog(kRegistered, registered + 1));
  ThawManager();
  test::ExpectRecordsSoon(element_);
  operator_ = NewReader();
  Clear();
  const Reply reply = operator_->Call(ReadOf(kSent));
  EXPECT_THAT(ComplaintsOf(reply), IsEmpty());
  EXPECT_THAT(LeafOf(reply.node(), "mep-ccms-sent"), Not(IsEmpty()));
}

TEST_F(ParkedRead, ADaemonThatDiesWhileReadsWaitEndsThem) {
  FreezeManager();
  const auto reader = NewReader();
  Park(*reader);
  element_.KillDaemon();
  const std::vector<std::string> complaints = ComplaintsOf(reader->Receive());
  ASSERT_THAT(complaints, testing::SizeIs(1));
  EXPECT_THAT(complaints[0], HasSubstr("cfm-app"));
  EXPECT_THAT(complaints[0], HasSubstr("mep-ccms-sent"));
  ThawManager();
  ASSERT_TRUE(element_.StartDaemon().AwaitReady());
}

class ImpatientParkedRead : public ParkedRead {
 protected:
  void SetUp() override { Start({"--provider-timeout", "1"}, {.meps = {1}, .remotes = {2}}); }
};

TEST_F(ImpatientParkedRead, AManagerThatNeverAnswersEndsTheReadAndHoldsNothingElseUp) {
  const pid_t daemon = element_.Daemon().Pid();
  FreezeManager();
  const auto reader = NewReader();
  Park(*reader);
  const Reply other = operator_->Call(ReadOf(kLocalRecord + std::string("/interface")));
  EXPECT_THAT(ComplaintsOf(other), IsEmpty());
  EXPECT_EQ(LeafOf(other.node(), "interface"), "eth1");
  EXPECT_EQ(element_.Cfmctl({"set", "md{provider}/level", "3"}).status, 0);

  const std::vector<std::string> complaints = ComplaintsOf(reader->Receive());
  ASSERT_THAT(complaints, testing::SizeIs(1));
  EXPECT_THAT(complaints[0], HasSubstr("cfm-app"));
  EXPECT_THAT(complaints[0], HasSubstr("did not answer in time"));
  EXPECT_THAT(complaints[0], HasSubstr("mep-ccms-sent"));

  ThawManager();
  EXPECT_EQ(element_.Daemon().Pid(), daemon);
  EXPECT_EQ(kill(daemon, 0), 0);
}

// More MEPs than one read of a socket brings counters of.
class BusyReads : public ParkedRead {
 protected:
  void SetUp() override {
    std::vector<int> meps(kMeps);
    std::iota(meps.begin(), meps.end(), 1);
    many_ = {.interval = "10min", .meps = meps, .remotes = {8000}};
    Start({}, many_);
    for (auto& reader : readers_) {
      reader = NewReader();
    }
  }

  static constexpr int kMeps = 200;
  Association many_;
  std::vector<std::unique_ptr<FrontEnd>> readers_{4};
};

TEST_F(BusyReads, ClearingsBetweenTheCountersOfAnAnswerLoseNoRead) {
  for (int round = 0; round < 25; ++round) {
    Clear();
    for (const auto& reader : readers_) {
      reader->Send(ReadOf(kSent));
    }
    for (int times = 0; times < 5; ++times) {
      Clear();
    }
    for (const auto& reader : readers_) {
      ASSERT_THAT(ComplaintsOf(reader->Receive()), IsEmpty());
    }
  }
  EXPECT_THAT(element_.Daemon().Log(), Not(HasSubstr("Error getting data from cache")));
}

TEST_F(BusyReads, ReadsOfRecordsThatAreBeingDeletedEndAndHurtNobody) {
  const Association rest{.interval = "10min", .meps = {1}, .remotes = {8000}};
  for (int round = 0; round < 6; ++round) {
    for (const auto& reader : readers_) {
      reader->Send(ReadOf(kEverything));
    }
    test::Configure(element_, round % 2 == 0 ? rest : many_);
    for (const auto& reader : readers_) {
      const Reply reply = reader->Receive();
      EXPECT_EQ(reply.errors_size(), 0) << reply.errors(0).message();
      for (const std::string& warning : reply.warnings()) {
        EXPECT_THAT(warning, testing::AnyOf(HasSubstr("went away"), HasSubstr("gone"),
                                            HasSubstr("commits came")));
      }
    }
  }
  // The last of them are still on their way, behind each other.
  while (test::Records(element_).size() != kMeps + 1U) {
    ASSERT_FALSE(HasFailure()) << "a read at rest complains";
  }
  test::Configure(element_, rest);
  EXPECT_EQ(element_.Verify().status, 0);
}

}  // namespace
