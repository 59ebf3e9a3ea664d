// A time by which others have to have done something. When it is over they are
// given kGrace more, counted from when the agent notices: it may have stood still
// itself, and then what they did meanwhile waits to be read.
#ifndef AGENT_DEADLINE_H
#define AGENT_DEADLINE_H

#include <chrono>
#include <functional>
#include <utility>

#include "timer.h"

namespace agentd {

class Deadline {
 public:
  static constexpr std::chrono::milliseconds kGrace{100};

  Deadline(sd_event* loop, std::function<void()> on_expiry)
      : on_expiry_(std::move(on_expiry)), timer_(loop, [this] { OnTime(); }) {}

  // Replaces what was set before.
  void Set(std::chrono::microseconds after) {
    is_over_ = false;
    timer_.Set(after);
  }
  void Cancel() { timer_.Cancel(); }

 private:
  void OnTime() {
    if (std::exchange(is_over_, true)) {
      on_expiry_();
    } else {
      timer_.Set(kGrace);
    }
  }

  std::function<void()> on_expiry_;
  bool is_over_ = false;
  Timer timer_;
};

}  // namespace agentd

#endif
