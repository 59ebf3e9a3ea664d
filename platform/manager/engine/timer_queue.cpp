#include "timer_queue.h"

namespace cfm::engine {

void TimerQueue::RunDue(Nanoseconds now) {
  while (!running_.empty() && running_.begin()->first.first <= now) {
    running_.begin()->second->Expire();
  }
}

std::optional<Nanoseconds> TimerQueue::NextDeadline() const {
  if (running_.empty()) {
    return std::nullopt;
  }
  return running_.begin()->first.first;
}

Timer::Timer(TimerQueue& queue, std::function<void()> on_expiry)
    : queue_(queue), on_expiry_(std::move(on_expiry)), key_({}, queue.next_serial_++) {}

void Timer::Start(Nanoseconds deadline) {
  if (!running_) {
    key_.first = deadline;
    queue_.running_.emplace(key_, this);
    running_ = true;
    return;
  }
  // The node moves: a received CCM must not cost an allocation.
  auto node = queue_.running_.extract(key_);
  key_.first = deadline;
  node.key() = key_;
  queue_.running_.insert(std::move(node));
}

void Timer::Stop() {
  if (running_) {
    queue_.running_.erase(key_);
    running_ = false;
  }
}

void Timer::Expire() {
  Stop();
  on_expiry_();
}

}  // namespace cfm::engine
