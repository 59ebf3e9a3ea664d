#include "vigil.h"

#include <utility>

namespace agentd {
namespace {

const char* Words(const std::optional<Pulse>& pulse) {
  switch (pulse ? pulse->state : '?') {
    case 'T':
    case 't':
      return "process stopped";
    case 'S':
      return "process asleep";
    default:
      return "process does nothing";
  }
}

std::string Milliseconds(std::chrono::microseconds time) {
  return std::to_string(std::chrono::duration_cast<std::chrono::milliseconds>(time).count()) +
         " ms";
}

}  // namespace

Vigil::Vigil(const HeartbeatRules& rules, Time now) : rules_(rules), last_sign_(now) {}

// Ready to run, or in the kernel's hands: what is done next is not its choice.
bool Vigil::ShowsLife(const Sight& sight) const {
  if (sight.agent_holds_answer || !sight.pulse) {
    return true;
  }
  const Pulse& pulse = *sight.pulse;
  return pulse.state == 'R' || pulse.state == 'D' || (last_pulse_ && last_pulse_->cpu != pulse.cpu);
}

Vigil::Verdict Vigil::Look(Time now, const Sight& sight) {
  const bool alive = std::exchange(heard_, false) || ShowsLife(sight);
  last_pulse_ = sight.pulse;
  if (alive) {
    last_sign_ = now;
    missed_ = 0;
    return Verdict::kAlive;
  }
  return ++missed_ < rules_.misses ? Verdict::kSilent : Verdict::kGivenUp;
}

std::string Vigil::Why(Time now) const {
  return "gave no sign of life for " + Milliseconds(now - last_sign_) + " (" +
         std::to_string(missed_) + " heartbeats of " + Milliseconds(rules_.interval) + ", " +
         Words(last_pulse_) + ")";
}

}  // namespace agentd
