#include "initiator.h"

#include <utility>

namespace cfm::engine {
namespace {

// The number with its binary digits in reverse: 0, 1/2, 1/4, 3/4, 1/8, ... of
// all slots.
unsigned SlotOf(unsigned number) {
  unsigned slot = 0;
  for (unsigned bit = 1; bit < Initiator::kSlots; bit *= 2) {
    slot = slot * 2 + ((number & bit) != 0 ? 1 : 0);
  }
  return slot;
}

}  // namespace

Initiator::Initiator(TimerQueue& queue, const Moment& now, unsigned number,
                     std::function<void(std::uint32_t)> send)
    : now_(now),
      send_(std::move(send)),
      timer_(queue, [this] { Expire(); }),
      slot_(SlotOf(number)) {}

void Initiator::Start(Nanoseconds interval) {
  interval_ = interval;
  grid_ = now_.monotonic - interval * slot_ / kSlots;
  timer_.Start(now_.monotonic);
}

void Initiator::Expire() {
  // CCMs that are overdue are left out: a burst would say nothing more.
  grid_ += ((now_.monotonic - grid_) / interval_ + 1) * interval_;
  timer_.Start(grid_);
  send_(++sequence_number_);
}

}  // namespace cfm::engine
