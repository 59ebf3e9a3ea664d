// The MEP Continuity Check Initiator (IEEE 802.1Q clause 20.12): one CCM at
// the start, then one each interval, on a grid that lateness does not shift.
//
// MEPs that start together would go on sending together, thousands of frames
// at one moment of each interval. So the interval has slots, and a MEP's second
// CCM comes early by as many as it is given.
#ifndef CFM_ENGINE_INITIATOR_H
#define CFM_ENGINE_INITIATOR_H

#include <cstdint>
#include <functional>

#include "timer_queue.h"

namespace cfm::engine {

class Initiator {
 public:
  static constexpr unsigned kSlots = 64;

  // `send` is given the CCM's sequence number. MEPs with successive numbers
  // get slots far from each other; number 0 has the whole interval.
  Initiator(TimerQueue& queue, const Moment& now, unsigned number,
            std::function<void(std::uint32_t)> send);

  // The first CCM is due at once.
  void Start(Nanoseconds interval);
  void Stop() { timer_.Stop(); }

 private:
  void Expire();

  const Moment& now_;
  std::function<void(std::uint32_t)> send_;
  Timer timer_;
  unsigned slot_;
  Nanoseconds interval_{0};
  Nanoseconds grid_{0};                // when a CCM was due that would be on the grid
  std::uint32_t sequence_number_ = 0;  // of the last CCM
};

}  // namespace cfm::engine

#endif
