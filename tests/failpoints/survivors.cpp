#include "survivors.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>

#include <algorithm>
#include <fstream>
#include <regex>
#include <set>
#include <stdexcept>

#include "continuity.h"
#include "front_end.h"

namespace test {
namespace {

using Target = Survivors::Target;

// Two, so that not every entry is the only one of its list.
constexpr int kRemote = 12;
constexpr int kOtherRemote = 13;
constexpr int kFirstMep = 1;
constexpr int kOtherMep = 2;
constexpr int kLevels = 8;
constexpr const char* kAgentPatience = "2";  // seconds
// Exit statuses of cfmctl.
constexpr int kDone = 0;
constexpr int kRefused = 1;
constexpr int kWrongUsage = 2;
constexpr int kWaitedInVain = 4;
constexpr int kSomethingMissing = 5;
// A daemon may have to be started anew more than once: by the peer's end, and
// by a configuration that has moved on.
constexpr int kMostStarts = 4;

Association Associate(const Configured& configured) {
  return {.level = configured.level,
          .interval = "10min",
          .meps = {configured.mep},
          .remotes = {kRemote, kOtherRemote}};
}

// Level and MEP in the XML of the running configuration.
Configured Parse(const std::string& xml) {
  static const std::regex pattern("<level>([0-9]+)</level>[^]*<mep>\\s*<id>([0-9]+)</id>");
  std::smatch found;
  if (!std::regex_search(xml, found, pattern)) {
    throw std::runtime_error("no level and MEP in: " + xml);
  }
  return {.level = std::stoi(found[1]), .mep = std::stoi(found[2])};
}

std::string TextOf(const Configured& configured) {
  return fmt::format("level {}, MEP {}", configured.level, configured.mep);
}

std::multiset<std::string> RecordsOf(const Configured& configured) {
  return {fmt::format("local provider gold {}", configured.mep),
          fmt::format("remote provider gold {} {}", configured.mep, kRemote),
          fmt::format("remote provider gold {} {}", configured.mep, kOtherRemote)};
}

}  // namespace

const char* NameOf(Target target) {
  switch (target) {
    case Target::kAgentd:
      return "agentd";
    case Target::kApp:
      return "cfm-app";
    case Target::kManagerd:
      break;
  }
  return "cfm-managerd";
}

Survivors::Survivors() {
  element_.SetInterfaces(TableOfWire(element_.Directory() / "wire"));
  for (const Target target : {Target::kAgentd, Target::kManagerd, Target::kApp}) {
    EXPECT_TRUE(Start(target).AwaitReady()) << Of(target).Log();
  }
  possible_ = {{.level = next_level_, .mep = kFirstMep}};
  Configure(element_, Associate(possible_.front()));
  ExpectRecords();
}

Process& Survivors::Of(Target target) {
  switch (target) {
    case Target::kAgentd:
      return element_.Agent();
    case Target::kApp:
      return element_.Daemon();
    case Target::kManagerd:
      break;
  }
  return element_.Manager();
}

Process& Survivors::Start(Target target) {
  switch (target) {
    case Target::kAgentd:
      return element_.StartAgent(
          {"--subscriber-timeout", kAgentPatience, "--provider-timeout", kAgentPatience});
    case Target::kApp:
      return element_.StartDaemon();
    case Target::kManagerd:
      break;
  }
  return element_.StartManager();
}

void Survivors::Arm(Target target, const std::string& fail_point) {
  Stop(target);
  Launch(target, fail_point);
  AwaitReady(target);
}

void Survivors::Stop(Target target) {
  EXPECT_EQ(Of(target).Stop(), 0) << Of(target).Log();
}

void Survivors::Settle(Target target) {
  for (int starts = 0; starts < kMostStarts && !Of(target).Status(); ++starts) {
    for (const Target each : {Target::kAgentd, Target::kManagerd, Target::kApp}) {
      if (Of(each).Status()) {
        ExpectEndIsAllowed(each, target);
        Start(each);
      }
    }
    if (AwaitStatus()) {
      return;
    }
  }
}

// Until every MEP has a record, with a leaf in it that comes late.
bool Survivors::AwaitStatus() {
  return Await({"watch", "--timeout", "20", "--until", "mac-address!=ff:ff:ff:ff:ff:ff"});
}

bool Survivors::Await(const std::vector<std::string>& words) {
  const auto cfmctl = element_.StartCfmctl(words);
  Process* const ended =
      AwaitFirst({cfmctl.get(), &element_.Agent(), &element_.Manager(), &element_.Daemon()});
  if (ended != cfmctl.get()) {
    return false;
  }
  const int status = cfmctl->AwaitExit().value_or(-1);
  EXPECT_TRUE(status != kWrongUsage && status != kWaitedInVain)
      << words.front() << " ended with " << status << ": " << cfmctl->Log()
      << element_.Daemon().Log();
  return true;
}

void Survivors::End(Target target) {
  if (!Of(target).Status()) {
    ended_.insert(Of(target).Pid());
    Of(target).Stop();
  }
}

void Survivors::Kill(Target target) {
  if (!Of(target).Status()) {
    ended_.insert(Of(target).Pid());
    Of(target).Signal(SIGKILL);
    Of(target).AwaitExit();
  }
}

void Survivors::ExpectEndIsAllowed(Target each, Target target) {
  const int status = Of(each).AwaitExit().value_or(-1);
  const bool was_asked = ended_.erase(Of(each).Pid()) > 0;
  const bool may_end = status == 1 && (each == target || each == Target::kApp);
  const bool may_be_killed = status == 128 + SIGKILL && each == target;
  EXPECT_TRUE(was_asked || may_end || may_be_killed)
      << NameOf(each) << " ended with " << status << ": " << Of(each).Log();
}

void Survivors::Launch(Target target, const std::string& fail_point) {
  ++arming_;
  const std::string log = element_.Directory() / fmt::format("{}-{}", kLog, arming_);
  element_.SetVariable("CFM_FAIL_POINT", fail_point);
  element_.SetVariable("CFM_FAIL_POINT_LOG", log);
  Start(target);
  element_.RemoveVariable("CFM_FAIL_POINT");
  element_.RemoveVariable("CFM_FAIL_POINT_LOG");
}

void Survivors::AwaitReady(Target target) {
  EXPECT_TRUE(Of(target).AwaitReady() || Of(target).Status()) << Of(target).Log();
  Await({"status", "--wait", "20"});
  Await({"verify", "--wait", "20"});
}

std::vector<std::string> Survivors::Passed() const {
  std::ifstream log(element_.Directory() / fmt::format("{}-{}", kLog, arming_));
  std::vector<std::string> names;
  for (std::string name; std::getline(log, name);) {
    names.push_back(name);
  }
  return names;
}

bool Survivors::HasFailed(const std::string& fail_point) const {
  const std::vector<std::string> passed = Passed();
  return std::ranges::find(passed, fail_point) != passed.end();
}

Configured Survivors::WithOtherLevel() {
  next_level_ = (next_level_ + 1) % kLevels;
  return {.level = next_level_, .mep = possible_.back().mep};
}

void Survivors::Note(const Configured& wanted, int status) {
  if (status == kDone) {
    possible_ = {wanted};
  } else if (status != kRefused) {
    possible_.push_back(wanted);
  }
}

void Survivors::CommitOtherLevel(const std::vector<std::string>& more_arguments) {
  const Configured wanted = WithOtherLevel();
  std::vector<std::string> words = {"set", "md{provider}/level", std::to_string(wanted.level)};
  words.insert(words.end(), more_arguments.begin(), more_arguments.end());
  Note(wanted, element_.Cfmctl(words).status);
}

void Survivors::CommitOtherMep() {
  Configured wanted = WithOtherLevel();
  wanted.mep = wanted.mep == kFirstMep ? kOtherMep : kFirstMep;
  Note(wanted, element_.Cfmctl({"load", "--replace", "-"}, Document(Associate(wanted))).status);
}

void Survivors::StartWhatHasEnded(Target target) {
  for (const Target each : {Target::kAgentd, Target::kManagerd, Target::kApp}) {
    if (Of(each).Status()) {
      ExpectEndIsAllowed(each, target);
      EXPECT_TRUE(Start(each).AwaitReady() || each == Target::kApp) << Of(each).Log();
    }
  }
}

bool Survivors::AllAreThere(Target target) {
  for (int starts = 0; starts < kMostStarts; ++starts) {
    StartWhatHasEnded(target);
    if (Await({"status", "--wait", "20"}) && AwaitStatus()) {
      return true;
    }
  }
  return false;
}

void Survivors::ExpectRunningIsKnown() {
  const CommandResult shown = element_.Cfmctl({"get", "--format", "xml"});
  ASSERT_EQ(shown.status, 0) << shown.error;
  const Configured running = Parse(shown.output);
  std::string texts;
  for (const Configured& one : possible_) {
    texts += TextOf(one) + "; ";
  }
  EXPECT_THAT(possible_, testing::Contains(running))
      << TextOf(running) << " is running, the operator was told: " << texts;
  possible_ = {running};
}

// Looks again at each change of the lists.
void Survivors::ExpectRecords() {
  const std::multiset<std::string> expected = RecordsOf(possible_.front());
  FrontEnd watch(element_.RuntimeDirectory());
  cfm::agent::Request request;
  request.mutable_watch_operational();
  watch.Send(request);
  std::multiset<std::string> found;
  try {
    do {
      watch.Receive();
      found = Records(element_);
    } while (found != expected);
  } catch (const std::exception& error) {
    EXPECT_EQ(found, expected) << error.what() << element_.Daemon().Log();
  }
}

void Survivors::ExpectAllIsWell(Target target) {
  ASSERT_TRUE(AllAreThere(target)) << element_.Cfmctl({"status"}).output << element_.Daemon().Log();
  ExpectRunningIsKnown();
  const CommandResult verified = element_.Verify();
  EXPECT_EQ(verified.status, 0) << verified.error;
  ExpectRecords();
  ExpectCounters(target);
  ExpectNoFault();
}

// A fault that is noticed only now may overtake a read.
void Survivors::ExpectCounters(Target target) {
  CommandResult shown = element_.Cfmctl({"show", "statistics"});
  if (shown.status == kSomethingMissing && AllAreThere(target)) {
    ExpectRecords();
    shown = element_.Cfmctl({"show", "statistics"});
  }
  EXPECT_EQ(shown.status, 0) << shown.error;
}

// The daemon ends with a fault when a read or a removal fails, and those fail
// while an agent dies. With an agent that lives on there is none.
void Survivors::ExpectNoFault() {
  const std::string log = element_.Daemon().Log();
  const bool has_agent_lived = element_.Agent().Pid() == agent_checked_;
  if (has_agent_lived) {
    EXPECT_THAT(log.substr(log_checked_), testing::Not(testing::HasSubstr("severity=1")));
  }
  log_checked_ = log.size();
  agent_checked_ = element_.Agent().Pid();
}

}  // namespace test
