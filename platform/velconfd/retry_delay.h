// How long to wait before an agent that fails the connection is tried again.
#ifndef VELCONFD_RETRY_DELAY_H
#define VELCONFD_RETRY_DELAY_H

#include <algorithm>
#include <chrono>
#include <utility>

namespace velconfd {

// Short after one failure, which may be the attempt's own, and ever longer while
// they go on: the socket may be one that a dead agent has left.
class RetryDelay {
 public:
  using Duration = std::chrono::microseconds;

  static constexpr Duration kFirst = std::chrono::milliseconds(100);
  static constexpr Duration kLongest = std::chrono::seconds(5);

  Duration Next() { return std::exchange(next_, std::min(2 * next_, kLongest)); }
  // The agent is connected.
  void Reset() { next_ = kFirst; }

 private:
  Duration next_ = kFirst;
};

}  // namespace velconfd

#endif
