// Deadlines on the engine's time, in order. Arming, stopping and expiry cost
// O(log n); nothing happens by itself, RunDue says when it is later.
#ifndef CFM_ENGINE_TIMER_QUEUE_H
#define CFM_ENGINE_TIMER_QUEUE_H

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <utility>

#include "moment.h"

namespace cfm::engine {

class Timer;

class TimerQueue {
 public:
  // Calls every timer that is due by then, earliest first and of equal ones
  // the one that was made first; a timer that a call makes due is called too.
  void RunDue(Nanoseconds now);
  // Empty when no timer runs.
  std::optional<Nanoseconds> NextDeadline() const;

 private:
  friend class Timer;
  using Key = std::pair<Nanoseconds, std::uint64_t>;

  std::map<Key, Timer*> running_;
  std::uint64_t next_serial_ = 0;
};

// A timer stops when it is destroyed. It is not destroyed by its own expiry.
class Timer {
 public:
  // The queue outlives the timer.
  Timer(TimerQueue& queue, std::function<void()> on_expiry);
  ~Timer() { Stop(); }

  Timer(const Timer&) = delete;
  Timer& operator=(const Timer&) = delete;

  // Replaces a deadline that it has.
  void Start(Nanoseconds deadline);
  void Stop();
  bool Running() const { return running_; }
  // The last one that it was started with.
  Nanoseconds Deadline() const { return key_.first; }

 private:
  friend class TimerQueue;
  void Expire();

  TimerQueue& queue_;
  std::function<void()> on_expiry_;
  TimerQueue::Key key_;
  bool running_ = false;
};

}  // namespace cfm::engine

#endif
