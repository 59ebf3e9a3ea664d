// How long to wait before the manager is asked again.
#ifndef CFM_RECONNECT_DELAY_H
#define CFM_RECONNECT_DELAY_H

#include <algorithm>
#include <chrono>

namespace cfm {

// A manager that was restarted is found at once. One that ends every
// connection soon after it began (another client takes over and over, a
// manager of another version) is asked ever less often, so that neither
// process spends its time on that.
class ReconnectDelay {
 public:
  using Duration = std::chrono::milliseconds;

  static constexpr Duration kSettled{10'000};  // a connection this old was a good one
  static constexpr Duration kFirst{20};
  static constexpr Duration kLongest{1'000};

  // The wait after a connection that lasted `lifetime`.
  Duration After(Duration lifetime) {
    if (lifetime >= kSettled) {
      next_ = Duration::zero();
    }
    const Duration delay = next_;
    next_ = std::clamp(2 * delay, kFirst, kLongest);
    return delay;
  }

 private:
  Duration next_ = Duration::zero();
};

}  // namespace cfm

#endif
