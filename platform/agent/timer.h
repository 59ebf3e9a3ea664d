// One deadline at a time in an event loop.
#ifndef AGENT_TIMER_H
#define AGENT_TIMER_H

#include <systemd/sd-event.h>

#include <chrono>
#include <functional>

#include "event_source.h"

namespace agentd {

class Timer {
 public:
  Timer(sd_event* loop, std::function<void()> on_expiry)
      : loop_(loop), on_expiry_(std::move(on_expiry)) {}

  // Replaces what was set before. Does nothing once the loop has ended: then
  // connections go and let go of what commits wait for, and no commit follows.
  void Set(std::chrono::microseconds after) {
    if (sd_event_get_state(loop_) == SD_EVENT_FINISHED) {
      return;
    }
    const std::uint64_t at = ipc::UsecFromNow(static_cast<std::uint64_t>(after.count()));
    if (source_ == nullptr) {
      sd_event_source* source = nullptr;
      ipc::CheckEvent(sd_event_add_time(loop_, &source, CLOCK_MONOTONIC, at, 1, OnTime, this),
                      "set a timer");
      source_.reset(source);
      return;
    }
    ipc::CheckEvent(sd_event_source_set_time(source_.get(), at), "set a timer");
    ipc::CheckEvent(sd_event_source_set_enabled(source_.get(), SD_EVENT_ONESHOT), "set a timer");
  }
  // A timer that is off costs the loop nothing, and is soon set again.
  void Cancel() {
    if (source_ != nullptr) {
      sd_event_source_set_enabled(source_.get(), SD_EVENT_OFF);
    }
  }

 private:
  static int OnTime(sd_event_source* source, std::uint64_t, void* self) noexcept {
    return ipc::DispatchGuarded(source, "timer",
                                [self] { static_cast<Timer*>(self)->on_expiry_(); });
  }

  sd_event* loop_;
  std::function<void()> on_expiry_;
  ipc::EventSource source_;
};

}  // namespace agentd

#endif
