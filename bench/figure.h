// One measured figure.
#ifndef BENCH_FIGURE_H
#define BENCH_FIGURE_H

#include <string>

#include "samples.h"

namespace bench {

enum class Unit {
  kMilliseconds,
  kMicroseconds,
  kPerSecond,
  kMillisecondsPerSecond,
  kMebibytes,
  kCount,
};

// As it is printed.
const char* TextOf(Unit unit);
// Of a time: how many seconds one of the unit is. 0 for anything else.
double SecondsIn(Unit unit);

struct Figure {
  std::string name;  // group.what, such as commit.leaf.applied
  int n = 0;         // status records: local and remote MEPs
  Unit unit = Unit::kCount;
  Summary summary;  // in `unit`
};

}  // namespace bench

#endif
