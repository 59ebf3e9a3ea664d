// Owned sd-event sources, and return codes turned into exceptions.
#ifndef IPC_EVENT_SOURCE_H
#define IPC_EVENT_SOURCE_H

#include <systemd/sd-event.h>
#include <time.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <memory>
#include <string>
#include <system_error>

namespace ipc {

// sd_event_source_disable_unref: no call-back comes after this, even when the
// source is being dispatched.
struct DropEventSource {
  void operator()(sd_event_source* source) const { sd_event_source_disable_unref(source); }
};
using EventSource = std::unique_ptr<sd_event_source, DropEventSource>;

// Throws std::system_error for a negative return code of sd-event.
inline void CheckEvent(int result, const std::string& operation) {
  if (result < 0) {
    throw std::system_error(-result, std::system_category(), operation);
  }
}

// Runs `step` in a call-back of the loop. What it throws has nobody to go to,
// so it ends the loop with an error, with a line on the standard error stream
// that begins with `what`.
template <typename Step>
int DispatchGuarded(sd_event_source* source, const char* what, Step step) noexcept {
  sd_event* loop = sd_event_source_get_event(source);
  try {
    step();
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s: %s\n", what, error.what());
    sd_event_exit(loop, EXIT_FAILURE);
  }
  return 0;
}

// The time on CLOCK_MONOTONIC in `usec` microseconds, for sd_event_add_time.
// sd_event_add_time_relative counts from the time at which the loop woke up:
// after work that took long, a timer set that way is due at once.
inline std::uint64_t UsecFromNow(std::uint64_t usec) {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<std::uint64_t>(now.tv_sec) * 1'000'000 +
         static_cast<std::uint64_t>(now.tv_nsec) / 1000 + usec;
}

}  // namespace ipc

#endif
