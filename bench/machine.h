// What the figures were taken on, as found.
#ifndef BENCH_MACHINE_H
#define BENCH_MACHINE_H

#include <string>
#include <utility>
#include <vector>

namespace bench {

// Names and texts, in the order to print them. What cannot be found is
// "unknown".
std::vector<std::pair<std::string, std::string>> DescribeMachine();

// Of the last minute, as /proc/loadavg has it.
std::string LoadAverage();

}  // namespace bench

#endif
