// The steps that the campaign chooses from. Wires that a step has cut, and
// processes that it holds, are set right by Heal behind it.
#ifndef TESTS_SURVIVAL_STEPS_H
#define TESTS_SURVIVAL_STEPS_H

#include "context.h"

namespace survival {

struct Outcome {
  std::string fault = {};       // name in the report; empty: there was none
  Clock::time_point over = {};  // when the fault was over
  bool await_link = false;      // recovery includes that the link is well again
  bool is_void = false;         // it did not come to its end, or to any effect
};

// Kills, freezes or restarts a process at a random moment of an operation.
Outcome StrikeProcess(Context& context);
// The disk of the agent's database is full, or fails.
Outcome FailDisk(Context& context);
Outcome SetClock(Context& context);
Outcome SendGarbage(Context& context);
Outcome LeaveConnections(Context& context);
Outcome CutWire(Context& context);
Outcome FloodStatus(Context& context);
// Operations without a fault.
Outcome Commit(Context& context);
Outcome CommitCandidate(Context& context);
Outcome CommitWithCfmctl(Context& context);
Outcome TryRefused(Context& context);
Outcome Read(Context& context);
Outcome Watch(Context& context);
Outcome Clear(Context& context);

// Ends whatever a step has done to the node, but for its clock.
void Heal(Context& context, Node& node);

// Waits until the ends of the link hear each other, or no longer do.
void AwaitLink(Supervisor& supervisor, Node& node, bool well);

}  // namespace survival

#endif
