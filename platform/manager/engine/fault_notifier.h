// The MEP Fault Notification Generator (IEEE 802.1Q clauses 20.35 to 20.37):
// a defect becomes a reported fault when it lasts for the alarm time, and a
// reported fault ends when there was no defect for the reset time.
#ifndef CFM_ENGINE_FAULT_NOTIFIER_H
#define CFM_ENGINE_FAULT_NOTIFIER_H

#include <functional>

#include "defect.h"
#include "timer_queue.h"

namespace cfm::engine {

struct FaultTimes {
  Nanoseconds alarm{0};
  Nanoseconds reset{0};

  bool operator==(const FaultTimes&) const = default;
};

class FaultNotifier {
 public:
  // `on_expiry` is called after a time that ran out changed the state.
  FaultNotifier(TimerQueue& queue, std::function<void()> on_expiry);

  // The highest enabled defect as it is now. Times count for what begins now.
  void Update(Defect highest, const FaultTimes& times, Nanoseconds now);
  void Reset();
  // The highest defect of the reported fault; kNone when none is reported.
  Defect Reported() const { return reported_; }

 private:
  enum class State { kReset, kDefect, kReported, kClearing };

  void Enter(State state, Nanoseconds deadline);
  void Report();
  void Expire();

  Timer timer_;
  std::function<void()> on_expiry_;
  State state_ = State::kReset;
  Defect highest_ = Defect::kNone;
  Defect reported_ = Defect::kNone;
};

}  // namespace cfm::engine

#endif
