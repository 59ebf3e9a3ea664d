// Both ends of several commits.
#ifndef BENCH_COMMIT_SAMPLES_H
#define BENCH_COMMIT_SAMPLES_H

#include <string>
#include <vector>

#include "measured_element.h"
#include "report.h"

namespace bench {

class CommitSamples {
 public:
  void Add(const CommitTimes& times) {
    applied_.push_back(times.applied);
    returned_.push_back(times.returned);
  }
  // As NAME.applied and NAME.returned.
  void AddTo(Report& report, const std::string& name, int n) const {
    report.AddTimes(name + ".applied", n, Unit::kMilliseconds, applied_);
    report.AddTimes(name + ".returned", n, Unit::kMilliseconds, returned_);
  }

 private:
  std::vector<double> applied_;
  std::vector<double> returned_;
};

}  // namespace bench

#endif
