// The only time that the engine knows: the one that comes with each input.
#ifndef CFM_ENGINE_MOMENT_H
#define CFM_ENGINE_MOMENT_H

#include <chrono>
#include <cstdint>

namespace cfm::engine {

using Nanoseconds = std::chrono::nanoseconds;

struct Moment {
  Nanoseconds monotonic{0};  // of a clock that never goes back
  std::uint64_t uptime = 0;  // of the system, in whole seconds
};

}  // namespace cfm::engine

#endif
