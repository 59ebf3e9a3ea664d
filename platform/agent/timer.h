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
    sd_event_source* source = nullptr;
    ipc::CheckEvent(sd_event_add_time(loop_, &source, CLOCK_MONOTONIC,
                                      ipc::UsecFromNow(static_cast<std::uint64_t>(after.count())),
                                      1, OnTime, this),
                    "set a timer");
    source_.reset(source);
  }
  void Cancel() { source_.reset(); }

 private:
  static int OnTime(sd_event_source* source, std::uint64_t, void* self) noexcept {
    return ipc::DispatchGuarded(source, "timer", [self] {
      auto* timer = static_cast<Timer*>(self);
      timer->Cancel();
      timer->on_expiry_();
    });
  }

  sd_event* loop_;
  std::function<void()> on_expiry_;
  ipc::EventSource source_;
};

}  // namespace agentd

#endif
