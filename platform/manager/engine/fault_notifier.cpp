#include "fault_notifier.h"

#include <algorithm>

namespace cfm::engine {

FaultNotifier::FaultNotifier(TimerQueue& queue, std::function<void()> on_expiry)
    : timer_(queue, [this] { Expire(); }), on_expiry_(std::move(on_expiry)) {}

void FaultNotifier::Update(Defect highest, const FaultTimes& times, Nanoseconds now) {
  highest_ = highest;
  const bool indicated = highest != Defect::kNone;
  switch (state_) {
    case State::kReset:
      if (indicated) {
        Enter(State::kDefect, now + times.alarm);
      }
      break;
    case State::kDefect:
      if (!indicated) {
        Reset();
      }
      break;
    case State::kReported:
      if (!indicated) {
        Enter(State::kClearing, now + times.reset);
      } else {
        Report();
      }
      break;
    case State::kClearing:
      if (indicated) {
        Report();
      }
      break;
  }
}

void FaultNotifier::Reset() {
  timer_.Stop();
  state_ = State::kReset;
  highest_ = Defect::kNone;
  reported_ = Defect::kNone;
}

void FaultNotifier::Enter(State state, Nanoseconds deadline) {
  state_ = state;
  timer_.Start(deadline);
}

// Within one fault only a higher defect is news.
void FaultNotifier::Report() {
  timer_.Stop();
  state_ = State::kReported;
  reported_ = std::max(reported_, highest_);
}

void FaultNotifier::Expire() {
  if (state_ == State::kDefect) {
    Report();
  } else {
    Reset();
  }
  on_expiry_();
}

}  // namespace cfm::engine
