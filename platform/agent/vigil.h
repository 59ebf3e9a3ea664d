// The judgement on a program that the agent waits for: one look at it an
// interval, a fixed number of looks without a sign of life, and it is given up.
// Knows no clock and no process.
//
// A sign of life is whatever the program sends on any of its connections, and
// otherwise what the kernel tells: that the process has used processor time
// since the last look, or is ready to run and gets no processor, or waits in the
// kernel for a disk. So a program of one thread that computes for long, and a
// program on a loaded machine, are not taken for dead; a loop without end in a
// program is left to the timeout. Neither is a program given up that waits for
// an answer that the agent itself holds back.
#ifndef AGENT_VIGIL_H
#define AGENT_VIGIL_H

#include <chrono>
#include <optional>
#include <string>

#include "pulse.h"

namespace agentd {

struct HeartbeatRules {
  std::chrono::microseconds interval{std::chrono::milliseconds(250)};
  // Looks in a row without a sign of life. At least 2: with the first one, only
  // the second can tell whether the process has run.
  unsigned misses = 3;
};

class Vigil {
 public:
  using Time = std::chrono::microseconds;  // of a monotonic clock

  // Begins with a sign of life.
  Vigil(const HeartbeatRules& rules, Time now);

  void Heard() { heard_ = true; }

  enum class Verdict {
    kAlive,
    kSilent,   // a ping is due
    kGivenUp,  // Why tells more
  };
  struct Sight {
    std::optional<Pulse> pulse{};  // nothing: the kernel does not tell, which counts as life
    bool agent_holds_answer = false;
  };
  // At the end of an interval.
  Verdict Look(Time now, const Sight& sight);

  // Whether anything was heard in this interval: then no sight is needed.
  bool HasHeard() const { return heard_; }
  // "gave no sign of life for 751 ms (3 heartbeats of 250 ms, process stopped)"
  std::string Why(Time now) const;

 private:
  bool ShowsLife(const Sight& sight) const;

  HeartbeatRules rules_;
  Time last_sign_;  // the last look that found one
  bool heard_ = false;
  unsigned missed_ = 0;
  std::optional<Pulse> last_pulse_;
};

}  // namespace agentd

#endif
