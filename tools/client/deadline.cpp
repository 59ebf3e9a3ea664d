#include "deadline.h"

#include <algorithm>
#include <limits>

namespace cfmctl {

int Deadline::PollTimeout() const {
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(at_ - Clock::now());
  return static_cast<int>(
      std::clamp<std::int64_t>(left.count(), 0, std::numeric_limits<int>::max()));
}

}  // namespace cfmctl
