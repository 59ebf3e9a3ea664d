// What remains of many measurements of one figure.
#ifndef BENCH_SAMPLES_H
#define BENCH_SAMPLES_H

#include <cstddef>
#include <vector>

namespace bench {

struct Summary {
  double median = 0;
  double min = 0;
  double max = 0;
  std::size_t count = 0;
};

// At least one sample. The median of an even number is the mean of the two in
// the middle.
Summary Summarize(std::vector<double> samples);

}  // namespace bench

#endif
