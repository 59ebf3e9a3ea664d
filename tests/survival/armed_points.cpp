#include "armed_points.h"

#include <fmt/format.h>

#ifdef CFM_FAIL_POINTS
#include "fail_points.h"
#endif

namespace survival {
namespace {

// Passes of its point that an armed process survives, at most.
constexpr int kMostSkipped = 12;

#ifdef CFM_FAIL_POINTS

std::map<Part, std::map<std::string, int>> AllPoints() {
  static constexpr std::pair<Part, unsigned> kPrograms[] = {{Part::kAgent, failpoint::kAgentd},
                                                            {Part::kDaemon, failpoint::kApp},
                                                            {Part::kManager, failpoint::kManagerd}};
  std::map<Part, std::map<std::string, int>> points;
  for (const auto& [part, program] : kPrograms) {
    for (const failpoint::Entry& entry : failpoint::kAll) {
      if ((entry.programs & program) != 0) {
        const std::string name(entry.name);
        points[part][name + ":kill"] = 0;
        if (failpoint::CanFail(entry.kind)) {
          points[part][name + ":error"] = 0;
        }
        if (failpoint::CanBeShort(entry.kind)) {
          points[part][name + ":short"] = 0;
        }
      }
    }
  }
  return points;
}

#else

std::map<Part, std::map<std::string, int>> AllPoints() {
  return {};
}

#endif

}  // namespace

ArmedPoints::ArmedPoints() : hits_(AllPoints()) {}

std::string ArmedPoints::Choose(Chance chance, Part part) const {
  const auto points = hits_.find(part);
  if (points == hits_.end() || chance.OneIn(3)) {
    return {};
  }
  const std::string& chosen = chance.Pick(points->second).first;
  const std::size_t colon = chosen.find(':');
  const int skip = chance.OneIn(2) ? chance.Below(kMostSkipped) : 0;
  return fmt::format("{}:{}{}", chosen.substr(0, colon), skip, chosen.substr(colon));
}

void ArmedPoints::Hit(Part part, const std::string& armed) {
  ++hits_[part][armed.substr(0, armed.find(':')) + armed.substr(armed.rfind(':'))];
}

std::string ArmedPoints::Text() const {
  std::string text;
  int hit = 0;
  int all = 0;
  for (const auto& [part, counts] : hits_) {
    for (const auto& [name, count] : counts) {
      text += fmt::format("{:<14} {:<44} {:>6}\n", NameOf(part), name, count);
      hit += count > 0 ? 1 : 0;
      ++all;
    }
  }
  return all == 0 ? text : fmt::format("\nfail points hit: {} of {}\n{}", hit, all, text);
}

}  // namespace survival
