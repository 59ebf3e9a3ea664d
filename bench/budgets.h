// What the figures have to stay below.
#ifndef BENCH_BUDGETS_H
#define BENCH_BUDGETS_H

#include <optional>
#include <string>
#include <vector>

#include "figure.h"

namespace bench {

enum class Verdict { kMet, kMissed, kNotMeasured };

struct Judgement {
  std::string text;  // what is budgeted
  double limit = 0;
  std::optional<double> measured;  // the median, of idle figures the maximum
  std::optional<double> best;      // the same of the minimum, for a disturbed machine
  std::string unit;
  Verdict verdict = Verdict::kNotMeasured;
};

std::vector<Judgement> Judge(const std::vector<Figure>& figures);

const char* TextOf(Verdict verdict);

}  // namespace bench

#endif
