#include "samples.h"

#include <algorithm>
#include <stdexcept>

namespace bench {

Summary Summarize(std::vector<double> samples) {
  if (samples.empty()) {
    throw std::invalid_argument("a figure without a sample");
  }
  std::sort(samples.begin(), samples.end());
  const std::size_t middle = samples.size() / 2;
  const double median =
      samples.size() % 2 == 1 ? samples[middle] : (samples[middle - 1] + samples[middle]) / 2;
  return {.median = median, .min = samples.front(), .max = samples.back(), .count = samples.size()};
}

}  // namespace bench
