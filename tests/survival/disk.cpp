// The disk under the agent's database.

#include <signal.h>
#include <sys/resource.h>

#include <array>
#include <cerrno>
#include <system_error>

#include "failure.h"
#include "operations.h"
#include "rest.h"
#include "steps.h"

namespace survival {
namespace {

void LimitFiles(pid_t pid, rlim_t bytes) {
  const rlimit limit{bytes, RLIM_INFINITY};
  if (prlimit(pid, RLIMIT_FSIZE, &limit, nullptr) != 0) {
    throw std::system_error(errno, std::generic_category(), "limit the size of files");
  }
}

struct DiskFault {
  const char* name;
  bool is_ours;  // made by the preloaded library, which counts
  void (*begin)(Node&);
  void (*end)(Node&);
};

void SetWriteFault(Node& node, WriteFault fault) {
  node.Disturb()->write_fault = fault;
}

void StopWriteFault(Node& node) {
  node.Disturb()->write_fault = WriteFault::kNone;
}

constexpr std::array kFaults = {
    DiskFault{"files may not grow", false,
              [](Node& node) { LimitFiles(node.Of(Part::kAgent).process->Pid(), 0); },
              [](Node& node) { LimitFiles(node.Of(Part::kAgent).process->Pid(), RLIM_INFINITY); }},
    DiskFault{"disk full", true, [](Node& node) { SetWriteFault(node, WriteFault::kNoSpace); },
              StopWriteFault},
    DiskFault{"disk does short writes", true,
              [](Node& node) { SetWriteFault(node, WriteFault::kShort); }, StopWriteFault},
    DiskFault{"disk full after a short write", true,
              [](Node& node) { SetWriteFault(node, WriteFault::kShortThenFull); }, StopWriteFault},
    DiskFault{"fsync fails", true, [](Node& node) { node.Disturb()->sync_fails = 1; },
              [](Node& node) { node.Disturb()->sync_fails = 0; }},
};

}  // namespace

void Heal(Context& context, Node& node) {
  for (const Part part : kParts) {
    context.supervisor.Thaw(node, part);
    context.supervisor.Release(node, part);
  }
  node.Disturb()->write_fault = WriteFault::kNone;
  node.Disturb()->sync_fails = 0;
  LimitFiles(node.Of(Part::kAgent).process->Pid(), RLIM_INFINITY);
  context.wires.MendAll();
}

Outcome FailDisk(Context& context) {
  const DiskFault& fault = context.chance.Pick(kFaults);
  context.Say(fault.name);
  context.node.Disturb()->disk_faults = 0;
  fault.begin(context.node);
  const auto begin = Clock::now();
  if (Perform(context, context.node, Kind::kCommit, true) == "refused") {
    context.report.Detected(fault.name, Clock::now() - begin);
  }
  for (int times = context.chance.Below(3); times > 0; --times) {
    Perform(context, context.node, context.chance.OneIn(2) ? Kind::kCandidateCommit : Kind::kCommit,
            true);
  }
  if (fault.is_ours && context.node.Disturb()->disk_faults == 0) {
    context.report.Count(std::string(fault.name) + ", and nothing was to be written");
  }
  if (context.chance.OneIn(2)) {
    AwaitRest(context.supervisor, context.node, context.report);
    context.Say("compared while it lasts");
  }
  fault.end(context.node);
  const auto over = Clock::now();
  // What was refused must not come to light when the database is opened again.
  if (context.chance.OneIn(2)) {
    context.Say("agentd killed");
    context.supervisor.End(context.node, Part::kAgent, SIGKILL, false);
  } else {
    Perform(context, context.node, Kind::kCommit, false);
  }
  return {.fault = fault.name, .over = over};
}

}  // namespace survival
