#include "initiator.h"

#include <utility>

namespace cfm::engine {

Initiator::Initiator(TimerQueue& queue, const Moment& now, std::function<void(std::uint32_t)> send)
    : now_(now), send_(std::move(send)), timer_(queue, [this] { Expire(); }) {}

void Initiator::Start(Nanoseconds interval) {
  interval_ = interval;
  timer_.Start(now_.monotonic);
}

void Initiator::Expire() {
  // CCMs that are overdue are left out: a burst would say nothing more.
  const Nanoseconds late = now_.monotonic - timer_.Deadline();
  timer_.Start(timer_.Deadline() + (late / interval_ + 1) * interval_);
  send_(++sequence_number_);
}

}  // namespace cfm::engine
