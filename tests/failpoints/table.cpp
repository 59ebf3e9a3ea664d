// Prints all fail points and how often each was hit, by the files that runs of
// the visits have left in a directory (ctest -L failpoints):
//
//   fail_point_table DIRECTORY
//
// Ends with 1 when a point of a program was never hit.
#include <fail_points.h>
#include <fmt/format.h>

#include <array>
#include <cstdio>
#include <exception>
#include <utility>

#include "hits.h"

namespace {

using Hits = std::map<test::Hit, int>;

constexpr std::array kPrograms = {std::pair{"agentd", failpoint::kAgentd},
                                  std::pair{"cfm-app", failpoint::kApp},
                                  std::pair{"cfm-managerd", failpoint::kManagerd}};
constexpr std::array kActions = {"kill", "stop", "error", "short"};

// One line; returns the sum.
int Print(const char* program, const failpoint::Entry& entry, const Hits& hits) {
  std::string columns;
  int sum = 0;
  for (const char* action : kActions) {
    const auto found = hits.find({program, std::string(entry.name), action});
    const int count = found != hits.end() ? found->second : 0;
    columns += fmt::format(" {:>5}", count);
    sum += count;
  }
  fmt::print("{:<12} {:<33}{} {:<5} {}\n", program, entry.name, columns, sum > 0 ? "hit" : "NEVER",
             entry.what);
  return sum;
}

int PrintTable(const Hits& hits) {
  fmt::print("{:<12} {:<33}", "process", "point");
  for (const char* action : kActions) {
    fmt::print(" {:>5}", action);
  }
  fmt::print("\n");
  int points = 0;
  int never = 0;
  int visits = 0;
  for (const auto& [program, bit] : kPrograms) {
    for (const failpoint::Entry& entry : failpoint::kAll) {
      if ((entry.programs & bit) != 0) {
        const int sum = Print(program, entry, hits);
        ++points;
        never += sum == 0 ? 1 : 0;
        visits += sum;
      }
    }
  }
  fmt::print("\nfail points hit: {} of {}, in {} visits\n", points - never, points, visits);
  return never == 0 ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    fmt::print(stderr, "usage: fail_point_table DIRECTORY\n");
    return 2;
  }
  try {
    return PrintTable(test::ReadHits(argv[1]));
  } catch (const std::exception& error) {
    fmt::print(stderr, "fail_point_table: {}; run ctest -L failpoints first\n", error.what());
    return 2;
  }
}
