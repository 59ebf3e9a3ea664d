// The MEP Continuity Check Initiator (IEEE 802.1Q clause 20.12): one CCM at
// the start, then one each interval, on a grid that lateness does not shift.
#ifndef CFM_ENGINE_INITIATOR_H
#define CFM_ENGINE_INITIATOR_H

#include <cstdint>
#include <functional>

#include "timer_queue.h"

namespace cfm::engine {

class Initiator {
 public:
  // `send` is given the CCM's sequence number.
  Initiator(TimerQueue& queue, const Moment& now, std::function<void(std::uint32_t)> send);

  // The first CCM is due at once.
  void Start(Nanoseconds interval);
  void Stop() { timer_.Stop(); }

 private:
  void Expire();

  const Moment& now_;
  std::function<void(std::uint32_t)> send_;
  Timer timer_;
  Nanoseconds interval_{0};
  std::uint32_t sequence_number_ = 0;  // of the last CCM
};

}  // namespace cfm::engine

#endif
