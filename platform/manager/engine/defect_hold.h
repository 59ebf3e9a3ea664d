// A defect that bad CCMs raise and their absence clears: the Remote MEP Error
// and the MEP Cross Connect state machine (IEEE 802.1Q clauses 20.21 to 20.25),
// which differ in nothing but which CCMs they are given.
#ifndef CFM_ENGINE_DEFECT_HOLD_H
#define CFM_ENGINE_DEFECT_HOLD_H

#include <functional>

#include "timer_queue.h"

namespace cfm::engine {

class DefectHold {
 public:
  DefectHold(TimerQueue& queue, std::function<void()> on_clear)
      : timer_(queue, std::move(on_clear)) {}

  // A bad CCM of a sender with that interval came. A sender with a longer
  // interval is not forgotten because of one with a shorter.
  void Raise(Nanoseconds now, Nanoseconds interval);
  // Without a call of on_clear.
  void Clear() { timer_.Stop(); }
  bool Present() const { return timer_.Running(); }

 private:
  Timer timer_;
};

}  // namespace cfm::engine

#endif
