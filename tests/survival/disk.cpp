// The disk under the agent's database.

#include <fmt/format.h>
#include <signal.h>

#include <array>

#include "failure.h"
#include "operations.h"
#include "rest.h"
#include "steps.h"

namespace survival {
namespace {

// What commits do while the fault lasts.
enum class Commits { kWork, kMayFail, kFail };

struct DiskFault {
  const char* name;
  Commits commits;
  // An agent is started while it lasts, and does not begin then.
  bool is_met_by_start;
  bool keeps_from_starting;
  void (*begin)(Node&);
};

template <WriteFault fault>
void SpoilWrites(Node& node) {
  node.Disturb()->write_fault = fault;
}

template <ReadFault fault>
void SpoilReads(Node& node) {
  node.Disturb()->read_fault = fault;
}

constexpr std::array kFaults = {
    DiskFault{"files may not grow", Commits::kFail, false, false,
              [](Node& node) { node.LetFilesGrow(false); }},
    DiskFault{"disk full", Commits::kFail, false, false, SpoilWrites<WriteFault::kNoSpace>},
    DiskFault{"disk does short writes", Commits::kWork, false, false,
              SpoilWrites<WriteFault::kShort>},
    DiskFault{"disk full after a short write", Commits::kFail, false, false,
              SpoilWrites<WriteFault::kShortThenFull>},
    DiskFault{"fsync fails", Commits::kFail, false, false,
              [](Node& node) { node.Disturb()->sync_fails = 1; }},
    DiskFault{"disk cannot be read", Commits::kMayFail, true, true, SpoilReads<ReadFault::kFails>},
    DiskFault{"disk does short reads", Commits::kWork, true, false, SpoilReads<ReadFault::kShort>},
};

void Begin(Node& node, const DiskFault& fault) {
  const bool may_refuse = fault.commits != Commits::kWork;
  node.disk = {.may_refuse = may_refuse, .has_failed = may_refuse};
  node.Disturb()->disk_faults = 0;
  fault.begin(node);
}

// True when it was refused.
bool CommitMeanwhile(Context& context, const DiskFault& fault, Kind kind) {
  Node& node = context.node;
  const test::Configuration before = node.Current();
  const int disturbances = node.so_far.all;
  const std::string outcome = Perform(context, node, kind);
  if (fault.commits == Commits::kFail && outcome.starts_with("done") && node.Current() != before &&
      node.so_far.all == disturbances && node.disk.may_refuse) {
    throw Failure(fmt::format("{}: a commit was reported as done: {}", node.Name(), fault.name),
                  node.LogOf(Part::kAgent));
  }
  return outcome == "refused";
}

void RestartMeanwhile(Context& context, const DiskFault& fault) {
  Node& node = context.node;
  context.Say("agentd killed meanwhile");
  context.supervisor.End(node, Part::kAgent, SIGKILL, false);
  context.supervisor.AwaitReady(node, Part::kAgent);
  if (fault.keeps_from_starting && !node.disk.was_mended_early) {
    throw Failure(node.Name() + "'s agentd is ready and cannot have read its database",
                  node.LogOf(Part::kAgent));
  }
}

// Whether all of the fault was met.
bool WasMet(Context& context, const DiskFault& fault, bool was_refused) {
  const Disk& disk = context.node.disk;
  if (disk.was_mended_early && !fault.keeps_from_starting) {
    context.report.Count(std::string(fault.name) + ", mended early so that an agent could begin");
    return false;
  }
  if (!was_refused && context.node.Disturb()->disk_faults == 0) {
    context.report.Count(std::string(fault.name) + ", and nothing was to be done to the disk");
    return false;
  }
  return true;
}

}  // namespace

void Heal(Context& context, Node& node) {
  for (const Part part : kParts) {
    context.supervisor.Thaw(node, part);
    context.supervisor.Release(node, part);
  }
  node.MendDisk();
  context.wires.MendAll();
}

Outcome FailDisk(Context& context) {
  const DiskFault& fault = context.chance.Pick(kFaults);
  context.Say(fault.name);
  Begin(context.node, fault);
  const auto begin = Clock::now();
  bool was_refused = CommitMeanwhile(context, fault, Kind::kCommit);
  if (was_refused) {
    context.report.Detected(fault.name, Clock::now() - begin);
  }
  for (int times = context.chance.Below(3); times > 0; --times) {
    was_refused |= CommitMeanwhile(
        context, fault, context.chance.OneIn(2) ? Kind::kCandidateCommit : Kind::kCommit);
  }
  if (fault.is_met_by_start) {
    RestartMeanwhile(context, fault);
  }
  if (context.chance.OneIn(2)) {
    AwaitRest(context.supervisor, context.node, context.report);
    context.Say("compared while it lasts");
  }
  const bool was_met = WasMet(context, fault, was_refused);
  context.node.MendDisk();
  const auto over = Clock::now();
  // What was refused must not come to light when the database is opened again.
  if (context.chance.OneIn(2)) {
    context.Say("agentd killed");
    context.supervisor.End(context.node, Part::kAgent, SIGKILL, false);
  } else {
    Perform(context, context.node, Kind::kCommit);
  }
  if (!was_met) {
    return {.is_void = true};
  }
  return {.fault = fault.name, .over = over};
}

}  // namespace survival
