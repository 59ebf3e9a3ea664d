#include "campaign.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>

#include "failure.h"
#include "operations.h"
#include "rest.h"
#include "steps.h"

namespace survival {
namespace {

struct StepKind {
  const char* name;
  int weight;
  Outcome (*perform)(Context&);
};

constexpr std::array kSteps = {
    StepKind{"fault", 40, StrikeProcess},
    StepKind{"disk", 10, FailDisk},
    StepKind{"clock", 6, SetClock},
    StepKind{"garbage", 10, SendGarbage},
    StepKind{"connections", 4, LeaveConnections},
    StepKind{"wire", 3, CutWire},
    StepKind{"flood", 4, FloodStatus},
    StepKind{"commit", 5, Commit},
    StepKind{"candidate", 4, CommitCandidate},
    StepKind{"cfmctl", 4, CommitWithCfmctl},
    StepKind{"refused", 4, TryRefused},
    StepKind{"read", 3, Read},
    StepKind{"watch", 1, Watch},
    StepKind{"clear", 2, Clear},
};

bool SeesExcuse(Context& context) {
  Supervisor& supervisor = context.supervisor;
  for (Node* node : {&context.node, &context.other}) {
    if (supervisor.Excuses(*node)) {
      return true;
    }
  }
  return supervisor.SeesDisturbance(context.node, context.node.at_rest.all);
}

// A process that ends, or fails otherwise, may end a step before its time.
Outcome Perform(const StepKind& kind, Context& context) {
  try {
    return kind.perform(context);
  } catch (const Failure&) {
    throw;
  } catch (const std::exception& error) {
    if (!SeesExcuse(context)) {
      throw;
    }
    context.Say(std::string("broken off: ") + error.what());
    context.report.Count(std::string("step broken off: ") + kind.name);
    return {.is_void = true};
  }
}

const StepKind& ChooseStep(Chance& chance) {
  int total = 0;
  for (const StepKind& step : kSteps) {
    total += step.weight;
  }
  int at = chance.Below(total);
  for (const StepKind& step : kSteps) {
    at -= step.weight;
    if (at < 0) {
      return step;
    }
  }
  return kSteps.back();
}

std::string LastLines(const std::string& text) {
  constexpr std::size_t kBytes = 4000;
  return text.size() > kBytes ? text.substr(text.size() - kBytes) : text;
}

}  // namespace

Campaign::Campaign(const Options& options)
    : options_(options),
      a_("A", wires_.Directory(), 1, 2),
      b_("B", wires_.Directory(), 2, 1),
      supervisor_(options.seed, report_, armed_points_),
      begin_(Clock::now()) {}

bool Campaign::GoesOn() const {
  return options_.steps > 0 ? step_ < options_.steps : Clock::now() - begin_ < options_.Duration();
}

void Campaign::Run() {
  supervisor_.Add(a_);
  supervisor_.Add(b_);
  for (Node* node : {&a_, &b_}) {
    supervisor_.AwaitReady(*node);
    // The link is all that is configured at first.
    const auto loaded =
        node->Element().Cfmctl({"load", "--replace", "-"}, test::DocumentOf(node->Current()));
    if (loaded.status != 0) {
      throw Failure("the first configuration: " + loaded.error);
    }
  }
  Rest();
  while (GoesOn()) {
    Step();
  }
  hanging_.clear();
  supervisor_.StopAll();
  CheckThatMostSucceeded(report_);
}

void Campaign::Rest() {
  AwaitRest(supervisor_, a_, report_);
  AwaitRest(supervisor_, b_, report_);
}

// A point that is armed may yet break what the link is looked at through.
void Campaign::AwaitLinkAt(Node& node) {
  while (true) {
    const int before = node.so_far.all;
    try {
      return AwaitLink(supervisor_, node, true);
    } catch (const Failure&) {
      throw;
    } catch (const std::exception& error) {
      if (!supervisor_.SeesDisturbance(node, before)) {
        throw Failure(fmt::format("{}, undisturbed: {}", node.Name(), error.what()));
      }
      AwaitRest(supervisor_, node, report_);
    }
  }
}

void Campaign::Step() {
  ++step_;
  Chance chance{options_.seed, static_cast<std::uint32_t>(step_)};
  supervisor_.BeginStep(step_);
  const bool first = chance.OneIn(2);
  Context context{chance,   supervisor_,     report_,         wires_,
                  hanging_, first ? a_ : b_, first ? b_ : a_, {}};
  const StepKind& kind = ChooseStep(chance);
  fmt::print("{:5} {} {}: ", step_, context.node.Name(), kind.name);
  std::fflush(stdout);
  const auto begin = Clock::now();
  Outcome outcome;
  try {
    outcome = Perform(kind, context);
    Heal(context, a_);
    Heal(context, b_);
    Rest();
    if (outcome.await_link) {
      AwaitLinkAt(a_);
      AwaitLinkAt(b_);
    }
  } catch (const std::exception&) {
    fmt::print("{}{}\n", context.story, supervisor_.Points());
    throw;
  }
  const auto now = Clock::now();
  if (!outcome.fault.empty()) {
    report_.Tried(outcome.fault);
    report_.Recovered(outcome.fault, now - outcome.over);
    if (const auto seen = supervisor_.TakeDetection()) {
      report_.Detected(outcome.fault, *seen);
    }
  } else if (!outcome.is_void) {
    report_.Count(std::string("step without a fault: ") + kind.name);
  }
  fmt::print("{}{} [{:.1f} s]\n", context.story, supervisor_.Points(),
             std::chrono::duration<double>(now - begin).count());
  std::fflush(stdout);
}

std::string Campaign::Logs() {
  std::string text;
  for (Node* node : {&a_, &b_}) {
    for (const Part part : kParts) {
      text +=
          fmt::format("--- {}\n{}\n", node->NameOf(part), LastLines(ReadLog(node->LogOf(part), 0)));
    }
  }
  return text;
}

std::string Campaign::Armed() {
  std::string text;
  for (Node* node : {&a_, &b_}) {
    for (const Part part : kParts) {
      const Life& life = node->Of(part);
      if (!life.armed.empty()) {
        text += fmt::format("{} runs with {}{}\n", node->NameOf(part), life.armed,
                            life.has_hit ? ", which it has hit" : "");
      }
    }
  }
  return text + "in this step" + supervisor_.Points() + "\n";
}

}  // namespace survival
