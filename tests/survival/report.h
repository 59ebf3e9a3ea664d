// What the campaign tried, and how long it took.
#ifndef TESTS_SURVIVAL_REPORT_H
#define TESTS_SURVIVAL_REPORT_H

#include <chrono>
#include <map>
#include <string>
#include <vector>

namespace survival {

using Duration = std::chrono::duration<double, std::milli>;

class Report {
 public:
  // An operation without a fault, or what a fault met: how often.
  void Count(const std::string& what, int times = 1) { counts_[what] += times; }
  int Counted(const std::string& what) const;
  // A fault.
  void Tried(const std::string& fault) { ++faults_[fault].tried; }
  // From the fault to the first sign of it that another process gave.
  void Detected(const std::string& fault, Duration time) {
    faults_[fault].detection.push_back(time);
  }
  // From the end of the fault, or from the fault when it is over at once,
  // until everything was compared and equal.
  void Recovered(const std::string& fault, Duration time) {
    faults_[fault].recovery.push_back(time);
  }
  // The two tables.
  std::string Text() const;

 private:
  struct Fault {
    int tried = 0;
    std::vector<Duration> detection;
    std::vector<Duration> recovery;
  };
  std::map<std::string, int> counts_;
  std::map<std::string, Fault> faults_;
};

}  // namespace survival

#endif
