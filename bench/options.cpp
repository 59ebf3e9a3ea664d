#include "options.h"

#include <CLI/CLI.hpp>

#include "figures.h"

namespace bench {
namespace {

const std::vector<int> kSizes = {100, 1000, 4000, 8000};
const std::vector<int> kQuickSizes = {100, 1000};

constexpr const char* kDescription =
    "Measures agentd, cfm-app and cfm-managerd at work, in private directories. One line per "
    "figure; a time stands also in round trips of a small message on a local socket. "
    "docs/performance.md explains each.";

constexpr const char* kExamples =
    "Examples:\n"
    "  bench/run                             everything, less than ten minutes\n"
    "  bench/run --quick                     less than one minute\n"
    "  bench/run --only status --sizes 8000  one group at one size\n"
    "\n"
    "Whatever else runs on the machine disturbs: read medians and minima.";

std::string CheckSize(const std::string& text) {
  try {
    Layout{std::stoi(text)};
    return {};
  } catch (const std::exception& error) {
    return error.what();
  }
}

std::vector<std::string> GroupNames() {
  std::vector<std::string> names;
  for (const Group& group : kGroups) {
    names.emplace_back(group.name);
  }
  return names;
}

std::string GroupHelp() {
  std::string help = "Only this group of figures; may be given again:";
  for (const Group& group : kGroups) {
    help += std::string("\n") + group.name + ": " + group.help;
  }
  return help;
}

}  // namespace

CommandLine ReadCommandLine(int argc, char** argv) {
  Options options{.quick = false, .json = BENCH_JSON, .sizes = {}, .groups = {}};
  CLI::App app(kDescription, "bench/run");
  app.footer(kExamples);
  app.add_flag("--quick", options.quick, "Fewer repetitions, and no more than 1000 records");
  app.add_option("--json", options.json, "File for the figures as JSON")->capture_default_str();
  app.add_option("--sizes", options.sizes, "Numbers of status records, such as 100,8000")
      ->delimiter(',')
      ->check(CheckSize, "MULTIPLE OF 20");
  app.add_option("--only", options.groups, GroupHelp())
      ->allow_extra_args(false)
      ->check(CLI::IsMember(GroupNames()));
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& outcome) {
    return {.options = std::nullopt, .exit_status = app.exit(outcome)};
  }
  if (options.sizes.empty()) {
    options.sizes = options.quick ? kQuickSizes : kSizes;
  }
  return {.options = options, .exit_status = 0};
}

}  // namespace bench
