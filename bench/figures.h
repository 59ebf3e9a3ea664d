// The groups of figures. Each brings up its own element, so that none sees
// what another has left.
#ifndef BENCH_FIGURES_H
#define BENCH_FIGURES_H

#include "layout.h"
#include "repetitions.h"
#include "report.h"

namespace bench {

using Measure = void (*)(const Layout& layout, const Repetitions& times, Report& report);

void MeasureNewCommits(const Layout& layout, const Repetitions& times, Report& report);
void MeasureConfiguration(const Layout& layout, const Repetitions& times, Report& report);
void MeasureStatus(const Layout& layout, const Repetitions& times, Report& report);
void MeasureReads(const Layout& layout, const Repetitions& times, Report& report);
void MeasureIdle(const Layout& layout, const Repetitions& times, Report& report);

struct Group {
  const char* name;
  const char* help;
  Measure measure;
};

inline constexpr Group kGroups[] = {
    {"new", "commit of N new MEPs", MeasureNewCommits},
    {"configuration", "one leaf, one MA, restart at N MEPs", MeasureConfiguration},
    {"status", "status updates and the wipe, with a scripted manager", MeasureStatus},
    {"reads", "computed leaves, statistics, the whole table", MeasureReads},
    {"idle", "wake-ups, CPU time and memory of the daemons at rest", MeasureIdle},
};

}  // namespace bench

#endif
