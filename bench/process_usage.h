// What a process has used so far, as the kernel counts it.
#ifndef BENCH_PROCESS_USAGE_H
#define BENCH_PROCESS_USAGE_H

#include <sys/types.h>

namespace bench {

// User and system time of all threads, in seconds, to the nanosecond. Throws
// std::system_error.
double CpuSeconds(pid_t process);

// How often a thread of the process went to sleep by itself, and so was woken
// again. Throws std::runtime_error.
long WakeUps(pid_t process);

// In MiB. `resident` is all of it, `anonymous` what is in no file: heap and
// stack.
struct Memory {
  double resident = 0;
  double anonymous = 0;
};
Memory MemoryOf(pid_t process);

}  // namespace bench

#endif
