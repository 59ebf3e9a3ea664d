// How often each figure is taken.
#ifndef BENCH_REPETITIONS_H
#define BENCH_REPETITIONS_H

#include <chrono>

namespace bench {

struct Repetitions {
  int new_commits;
  int leaf_commits;
  int cpu_batches;
  int deletions;
  int restarts;
  int status_updates;
  int status_bursts;
  int wipes;
  int reads;
  int delayed_reads;
  int tables;
  int idle_windows;
  std::chrono::milliseconds idle_window;
};

inline constexpr Repetitions kFull{.new_commits = 7,
                                   .leaf_commits = 30,
                                   .cpu_batches = 10,
                                   .deletions = 7,
                                   .restarts = 5,
                                   .status_updates = 300,
                                   .status_bursts = 5,
                                   .wipes = 3,
                                   .reads = 300,
                                   .delayed_reads = 7,
                                   .tables = 3,
                                   .idle_windows = 3,
                                   .idle_window = std::chrono::milliseconds(2000)};

inline constexpr Repetitions kQuick{.new_commits = 3,
                                    .leaf_commits = 10,
                                    .cpu_batches = 3,
                                    .deletions = 3,
                                    .restarts = 3,
                                    .status_updates = 50,
                                    .status_bursts = 3,
                                    .wipes = 2,
                                    .reads = 50,
                                    .delayed_reads = 3,
                                    .tables = 2,
                                    .idle_windows = 2,
                                    .idle_window = std::chrono::milliseconds(500)};

}  // namespace bench

#endif
