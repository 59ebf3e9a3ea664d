#include <fmt/format.h>

#include <algorithm>
#include <cstdio>
#include <exception>
#include <iostream>

#include "figures.h"
#include "machine.h"
#include "options.h"
#include "report.h"
#include "round_trip.h"

namespace {

void Run(const bench::Options& options) {
  auto machine = bench::DescribeMachine();
  machine.emplace_back("load before", bench::LoadAverage());
  bench::Report report(std::cout, std::move(machine), bench::MeasureRoundTrip());
  const bench::Repetitions& times = options.quick ? bench::kQuick : bench::kFull;
  for (const bench::Group& group : bench::kGroups) {
    if (!options.groups.empty() && std::ranges::count(options.groups, group.name) == 0) {
      continue;
    }
    for (const int size : options.sizes) {
      group.measure(bench::Layout(size), times, report);
    }
  }
  report.PrintBudgets();
  report.WriteJson(options.json);
}

}  // namespace

int main(int argc, char** argv) {
  try {
    const bench::CommandLine command = bench::ReadCommandLine(argc, argv);
    if (!command.options) {
      return command.exit_status;
    }
    Run(*command.options);
    return 0;
  } catch (const std::exception& error) {
    fmt::print(stderr, "cfm_bench: {}\n", error.what());
    return 1;
  }
}
