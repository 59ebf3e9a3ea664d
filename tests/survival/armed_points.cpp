#include "armed_points.h"

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

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

std::filesystem::path LogOf(Node& node, Part part) {
  return node.Element().Directory() / (std::string(NameOf(part)) + ".points");
}

bool HasLine(const std::filesystem::path& log, const std::string& wanted) {
  std::ifstream lines(log);
  for (std::string line; std::getline(lines, line);) {
    if (line == wanted) {
      return true;
    }
  }
  return false;
}

}  // namespace

ArmedPoints::ArmedPoints(std::uint32_t seed) : chance_(seed, 0), hits_(AllPoints()) {}

std::string ArmedPoints::Arm(Node& node, Part part) {
  test::Element& element = node.Element();
  const Counts& counts = hits_[part];
  if (counts.empty() || chance_.OneIn(3)) {
    return {};
  }
  const auto by_count = [](const auto& left, const auto& right) {
    return left.second < right.second;
  };
  const int least = std::min_element(counts.begin(), counts.end(), by_count)->second;
  std::vector<std::string> rarest;
  for (const auto& [name, count] : counts) {
    if (count == least) {
      rarest.push_back(name);
    }
  }
  const std::string& chosen = chance_.Pick(rarest);
  const std::size_t colon = chosen.find(':');
  const int skip = chance_.OneIn(2) ? chance_.Below(kMostSkipped) : 0;
  const std::string armed =
      fmt::format("{}:{}{}", chosen.substr(0, colon), skip, chosen.substr(colon));
  std::filesystem::remove(LogOf(node, part));
  element.SetVariable("CFM_FAIL_POINT_LOG", LogOf(node, part).string());
  element.SetVariable("CFM_FAIL_POINT", armed);
  return armed;
}

void ArmedPoints::Disarm(Node& node) {
  node.Element().RemoveVariable("CFM_FAIL_POINT");
  node.Element().RemoveVariable("CFM_FAIL_POINT_LOG");
}

// The log may not grow while files may not.
bool ArmedPoints::TakeEnd(Node& node, Part part, const std::string& armed, bool killed) {
  const bool has_failed = (killed && armed.ends_with(":kill")) || HasLine(LogOf(node, part), armed);
  if (armed.empty() || !has_failed) {
    return false;
  }
  ++hits_[part][armed.substr(0, armed.find(':')) + armed.substr(armed.rfind(':'))];
  return true;
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
