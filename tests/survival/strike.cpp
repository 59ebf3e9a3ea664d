// Processes that are killed, restarted or stand still.

#include <signal.h>

#include <array>

#include "occasions.h"
#include "steps.h"

namespace survival {
namespace {

enum class Blow { kKill, kRestart, kFreeze };

const char* NameOf(Blow blow) {
  static constexpr const char* kNames[] = {"killed", "restarted", "frozen"};
  return kNames[static_cast<std::size_t>(blow)];
}

// Where, and by which words, the loss of a process is seen first.
struct Sign {
  Part observer;
  const char* text;
};

Sign SignOfLoss(Part lost) {
  static constexpr std::array kSigns = {Sign{Part::kDaemon, "Lost the agent"},
                                        Sign{Part::kManager, "lost cfm-app"},
                                        Sign{Part::kDaemon, "lost the CFM manager"}};
  return kSigns[static_cast<std::size_t>(lost)];
}

// What goes on while the part does not run or stands still. Of one element's
// commits the outcome is known before the next.
void Meanwhile(Context& context, const Node& struck, bool holds_commits, const Underway& underway) {
  context.Say("meanwhile");
  for (int times = 1 + context.chance.Below(3); times > 0; --times) {
    Node& node = context.chance.OneIn(2) ? context.node : context.other;
    const bool waits = &node == &struck && holds_commits;
    const bool is_busy = &node == &context.node && underway.IsCommit();
    if (!waits && !is_busy && !node.maybe) {
      Perform(context, node, Kind::kCommit);
    }
  }
}

Outcome Freeze(Context& context, Node& node, Part part, Underway& underway) {
  Outcome outcome{.fault = std::string(survival::NameOf(part)) + " frozen"};
  context.supervisor.Freeze(node, part);
  // A commit waits for a frozen cfm-app until the agent gives that up.
  if (&node == &context.node && part == Part::kDaemon && underway.IsCommit() &&
      context.chance.OneIn(2)) {
    outcome.fault += " until given up";
    const auto begin = Clock::now();
    if (underway.Finish() == kDoneWithWarning) {
      context.report.Detected(outcome.fault, Clock::now() - begin);
    }
  } else {
    Meanwhile(context, node, part != Part::kManager, underway);
  }
  context.supervisor.Thaw(node, part);
  outcome.over = Clock::now();
  underway.Finish();
  return outcome;
}

Clock::time_point End(Context& context, Node& node, Part part, Blow blow, Underway& underway) {
  const bool stay_down = context.chance.OneIn(3);
  context.supervisor.End(node, part, blow == Blow::kKill ? SIGKILL : SIGTERM, stay_down);
  if (!stay_down) {
    const auto over = Clock::now();
    underway.Finish();
    return over;
  }
  context.Say("stays down");
  underway.Finish();
  Meanwhile(context, node, part == Part::kAgent, underway);
  context.supervisor.Release(node, part);
  return Clock::now();
}

}  // namespace

Outcome StrikeProcess(Context& context) {
  Node& node = context.chance.OneIn(6) ? context.other : context.node;
  const Part part = context.chance.Pick(kParts);
  static constexpr std::array kBlows = {Blow::kKill, Blow::kKill, Blow::kRestart, Blow::kFreeze};
  const Blow blow = context.chance.Pick(kBlows);
  const std::string fault = std::string(survival::NameOf(part)) + " " + NameOf(blow);

  Underway underway(context);
  context.Say(node.Name() + "'s " + fault);
  if (blow == Blow::kFreeze) {
    return Freeze(context, node, part, underway);
  }
  const Sign sign = SignOfLoss(part);
  context.supervisor.LookOut(node.LogOf(sign.observer), sign.text);
  return {.fault = fault, .over = End(context, node, part, blow, underway)};
}

}  // namespace survival
