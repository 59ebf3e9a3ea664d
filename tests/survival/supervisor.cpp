#include "supervisor.h"

#include <fmt/format.h>
#include <poll.h>
#include <signal.h>

#include <algorithm>
#include <cerrno>

#include "ends.h"
#include "failure.h"

namespace survival {
namespace {

// Starts in one step. More than that is a process that cannot live.
constexpr int kMostStarts = 40;

// From the end of a connection to the end of its process.
constexpr std::chrono::seconds kEndPatience{5};

// An agent that begins while its disk fails, or for which a fail point is the
// disk. Where its files may not grow it cannot say what is wrong.
bool CouldNotOpenDatabase(Node& node, int status, const std::string& log) {
  const Life& life = node.Of(Part::kAgent);
  const bool hit_disk = life.has_hit && life.armed.starts_with("disk_");
  if (!node.disk.has_failed && !hit_disk) {
    return false;
  }
  if (!node.disk.may_grow) {
    return status == 1 || status == 128 + SIGXFSZ;
  }
  return status == 1 && log.find("open the running configuration") != std::string::npos &&
         (log.find("disk I/O error") != std::string::npos ||
          log.find("disk is full") != std::string::npos);
}

// What a peer does not notice is no disturbance: a short transfer goes on.
bool Disturbs(const std::string& armed) {
  return !armed.ends_with(":short");
}

// A daemon that has ended has lost nothing; the next one loads everything.
void DisturbByEnd(Node& node, Part part) {
  ++node.so_far.all;
  node.so_far.agent_losses += part == Part::kAgent ? 1 : 0;
}

bool IsReadable(int descriptor) {
  pollfd event{descriptor, POLLIN, 0};
  return poll(&event, 1, 0) == 1;
}

}  // namespace

void Supervisor::Add(Node& node) {
  nodes_.push_back(&node);
  for (const Part part : kParts) {
    Start(node, part);
  }
}

void Supervisor::BeginStep(int step) {
  step_ = step;
  look_out_.reset();
  starts_ = 0;
  points_.clear();
  for (Node* node : nodes_) {
    for (const Part part : kParts) {
      node->Of(part).starts = 0;
    }
  }
}

void Supervisor::Arm(Node& node, Part part) {
  Life& life = node.Of(part);
  ++life.starts;
  life.armed.clear();
  if (step_ > 0) {
    const auto at = std::find(nodes_.begin(), nodes_.end(), &node) - nodes_.begin();
    const Chance chance{seed_, static_cast<std::uint32_t>(step_), static_cast<std::uint32_t>(at),
                        static_cast<std::uint32_t>(part), static_cast<std::uint32_t>(life.starts)};
    life.armed = armed_points_.Choose(chance, part);
  }
  if (!life.armed.empty()) {
    points_ += fmt::format(", armed {} {}", node.NameOf(part), life.armed);
  }
}

void Supervisor::LookForHit(Node& node, Part part) {
  Life& life = node.Of(part);
  if (!life.has_hit && node.ComesToPoint(part)) {
    life.has_hit = true;
    armed_points_.Hit(part, life.armed);
    points_ += fmt::format(", hit {} {}", node.NameOf(part), life.armed);
    if (Disturbs(life.armed)) {
      Disturb(node, part);
    }
  }
}

void Supervisor::Start(Node& node, Part part) {
  if (++starts_ > kMostStarts) {
    throw Failure(node.NameOf(part) + " ends again and again", node.LogOf(part));
  }
  Arm(node, part);
  node.Start(part);
}

bool Supervisor::Await(const std::vector<int>& descriptors, const std::function<bool()>& done,
                       Clock::time_point deadline) {
  while (true) {
    Tend();
    if (done()) {
      return true;
    }
    if (Clock::now() >= deadline) {
      return false;
    }
    Wait(descriptors, deadline);
  }
}

void Supervisor::Wait(const std::vector<int>& descriptors, Clock::time_point deadline) {
  std::vector<pollfd> events;
  for (const int descriptor : descriptors) {
    events.push_back({descriptor, POLLIN, 0});
  }
  for (Node* node : nodes_) {
    for (const Part part : kParts) {
      if (const test::Process* process = node->Of(part).process) {
        events.push_back({process->EndFd(), POLLIN, 0});
        events.push_back({process->ReadyFd(), POLLIN, 0});
      }
    }
  }
  if (look_out_ && !look_out_->Seen()) {
    events.push_back({look_out_->Fd(), POLLIN, 0});
  }
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
  if (poll(events.data(), events.size(), left.count() > 0 ? static_cast<int>(left.count()) : 0) <
          0 &&
      errno != EINTR) {
    throw std::system_error(errno, std::generic_category(), "wait for processes");
  }
}

void Supervisor::Tend() {
  if (look_out_) {
    look_out_->Seen();
  }
  for (Node* node : nodes_) {
    for (const Part part : kParts) {
      test::Process* process = node->Of(part).process;
      if (process == nullptr) {
        continue;
      }
      process->IsReady();
      LookForHit(*node, part);
      if (const auto status = process->Status()) {
        TakeEnd(*node, part, *status);
      }
    }
  }
}

void Supervisor::TakeEnd(Node& node, Part part, int status) {
  LookForHit(node, part);
  JudgeEnd(node, part, status);
  DisturbByEnd(node, part);
  node.Of(part).process = nullptr;
  if (!node.Of(part).stays_down) {
    Start(node, part);
  }
}

void Supervisor::JudgeEnd(Node& node, Part part, int status) {
  const Life& life = node.Of(part);
  const std::string log = ReadLog(node.LogOf(part), life.log_begin);
  if (const std::string found = SanitizerReport(log); !found.empty()) {
    throw Failure(node.NameOf(part) + ": " + found, node.LogOf(part));
  }
  const bool killed = status == 128 + SIGKILL;
  const bool asked = life.asked_to_end == SIGKILL;
  if (killed && (asked || (life.has_hit && life.armed.ends_with(":kill")))) {
    return;
  }
  const bool was_ready = life.process->IsReady();
  if (part == Part::kAgent && !was_ready && CouldNotOpenDatabase(node, status, log)) {
    // It would end again and again until somebody sees to the disk.
    node.MendDisk();
    node.disk.was_mended_early = true;
    return report_.Count("agentd ended, as it may: it could not open its database");
  }
  // Before it is ready it may not have taken over the signal yet.
  if (life.asked_to_end == SIGTERM && (status == 0 || (!was_ready && status == 128 + SIGTERM))) {
    return;
  }
  if (AgentGaveUp(node)) {
    Disturb(node, Part::kAgent);
  }
  if (const auto reason = ReasonToEnd(node, part, status, log)) {
    report_.Count("cfm-app ended, as it may: " + *reason);
    return;
  }
  throw Failure(
      fmt::format("{} ended with status {}, which it must not", node.NameOf(part), status),
      node.LogOf(part));
}

void Supervisor::AwaitReadable(int descriptor, const std::string& what) {
  if (!Await(
          {descriptor}, [descriptor] { return IsReadable(descriptor); },
          Clock::now() + test::kPatience)) {
    throw Failure("waited in vain for " + what);
  }
}

// Between a daemon and its agent either may break what is between them.
void Supervisor::Disturb(Node& node, Part part) {
  ++node.so_far.all;
  node.so_far.agent_losses += part == Part::kManager ? 0 : 1;
}

bool Supervisor::Excuses(Node& node) {
  Tend();
  return node.so_far.all != node.at_rest.all;
}

bool Supervisor::SeesDisturbance(Node& node, int so_many) {
  return Await(
      {}, [&] { return node.so_far.all != so_many; }, Clock::now() + kEndPatience);
}

void Supervisor::AwaitReady(Node& node) {
  for (const Part part : kParts) {
    AwaitReady(node, part);
  }
}

void Supervisor::AwaitReady(Node& node, Part part) {
  const Life& life = node.Of(part);
  const auto ready = [&life] {
    return life.stays_down || (life.process != nullptr && life.process->IsReady());
  };
  if (!Await({}, ready, Clock::now() + test::kPatience)) {
    throw Failure(node.NameOf(part) + " does not become ready", node.LogOf(part));
  }
}

void Supervisor::End(Node& node, Part part, int signal, bool stay_down) {
  Life& life = node.Of(part);
  if (life.process == nullptr) {
    return;
  }
  const test::Process* ending = life.process;
  const pid_t pid = ending->Pid();
  life.stays_down = stay_down;
  life.asked_to_end = signal;
  // The others may see it before its end is taken here.
  DisturbByEnd(node, part);
  life.process->Signal(signal);
  const auto gone = [&] { return life.process == nullptr || life.process->Pid() != pid; };
  if (!Await({}, gone, Clock::now() + test::kPatience)) {
    throw Failure(fmt::format("{} does not end on signal {}", node.NameOf(part), signal),
                  node.LogOf(part));
  }
}

void Supervisor::Release(Node& node, Part part) {
  node.Of(part).stays_down = false;
  if (node.Of(part).process == nullptr) {
    Start(node, part);
  }
}

void Supervisor::Freeze(Node& node, Part part) {
  Tend();
  node.Of(part).process->Freeze();
  // It may be given up, or wait in vain.
  Disturb(node, part);
}

void Supervisor::Thaw(Node& node, Part part) {
  if (test::Process* process = node.Of(part).process) {
    process->Signal(SIGCONT);
  }
}

void Supervisor::LookOut(const std::filesystem::path& log, const std::string& text) {
  look_out_.emplace(log, text);
  looks_out_since_ = Clock::now();
}

std::optional<Clock::duration> Supervisor::TakeDetection() {
  const auto seen = look_out_ ? look_out_->Seen() : std::nullopt;
  look_out_.reset();
  return seen ? std::optional(*seen - looks_out_since_) : std::nullopt;
}

void Supervisor::StopAll() {
  for (Node* node : nodes_) {
    AwaitReady(*node);
    // The daemon first: what it wrote is nobody's then.
    for (const Part part : {Part::kDaemon, Part::kManager, Part::kAgent}) {
      End(*node, part, SIGTERM, true);
    }
  }
}

}  // namespace survival
