// The clock of all figures.
#ifndef BENCH_CLOCK_H
#define BENCH_CLOCK_H

#include <chrono>

namespace bench {

using Clock = std::chrono::steady_clock;

inline double SecondsBetween(Clock::time_point from, Clock::time_point to) {
  return std::chrono::duration<double>(to - from).count();
}
inline double SecondsSince(Clock::time_point from) {
  return SecondsBetween(from, Clock::now());
}

}  // namespace bench

#endif
