#include "report.h"

#include <fmt/format.h>

#include <algorithm>

namespace survival {
namespace {

std::string Range(std::vector<Duration> times) {
  if (times.empty()) {
    return "-";
  }
  std::ranges::sort(times);
  return fmt::format("{:.0f} / {:.0f} / {:.0f}", times.front().count(),
                     times[times.size() / 2].count(), times.back().count());
}

}  // namespace

int Report::Counted(const std::string& what) const {
  const auto found = counts_.find(what);
  return found == counts_.end() ? 0 : found->second;
}

std::string Report::Text() const {
  std::string text =
      fmt::format("\n{:<36} {:>6}  {:>22}  {:>24}\n", "fault (times: min/median/max)", "tried",
                  "detected after ms", "recovered after ms");
  for (const auto& [name, fault] : faults_) {
    text += fmt::format("{:<36} {:>6}  {:>22}  {:>24}\n", name, fault.tried, Range(fault.detection),
                        Range(fault.recovery));
  }
  text += fmt::format("\n{:<60} {:>6}\n", "what else was done or seen", "times");
  for (const auto& [name, count] : counts_) {
    text += fmt::format("{:<60} {:>6}\n", name, count);
  }
  return text;
}

}  // namespace survival
