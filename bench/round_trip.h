// The measure of every time: how long a small message takes to another
// process and back over a local stream socket, on this machine, now.
#ifndef BENCH_ROUND_TRIP_H
#define BENCH_ROUND_TRIP_H

#include <optional>

#include "samples.h"

namespace bench {

// Microseconds for one round trip.
struct RoundTrip {
  Summary same_core;  // both processes bound to one core
  // Each process bound to its own; absent where only one core may be used.
  std::optional<Summary> two_cores;
};

// Takes about half a second. Throws std::system_error.
RoundTrip MeasureRoundTrip();

}  // namespace bench

#endif
