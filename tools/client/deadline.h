// A point in time until which something is awaited.
#ifndef TOOLS_CLIENT_DEADLINE_H
#define TOOLS_CLIENT_DEADLINE_H

#include <chrono>

namespace cfmctl {

class Deadline {
 public:
  using Clock = std::chrono::steady_clock;

  static Deadline After(std::chrono::milliseconds time) { return Deadline(Clock::now() + time); }

  static Deadline Never() { return Deadline(Clock::time_point::max()); }

  bool Passed() const { return Clock::now() >= at_; }
  // For poll(2): milliseconds left, rounded up, so that poll does not return
  // early; 0 when it has passed. One that is very far off is cut.
  int PollTimeout() const;

 private:
  explicit Deadline(Clock::time_point at) : at_(at) {}

  Clock::time_point at_;
};

}  // namespace cfmctl

#endif
