// The fault campaign. See docs/reliability.md.

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <CLI/CLI.hpp>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <exception>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>

#include "campaign.h"
#include "failure.h"
#include "options.h"

namespace {

// As tests/survival/run was given it.
std::string Preset() {
  const char* preset = std::getenv("CFM_PRESET");
  return preset == nullptr ? "" : fmt::format("CFM_PRESET={} ", preset);
}

std::string LastLines(const std::filesystem::path& log) {
  constexpr std::size_t kLines = 30;
  std::ifstream file(log);
  std::deque<std::string> lines;
  for (std::string line; std::getline(file, line);) {
    lines.push_back(line);
    if (lines.size() > kLines) {
      lines.pop_front();
    }
  }
  return fmt::format("{}", fmt::join(lines, "\n"));
}

void PrintFailure(survival::Campaign& campaign, const survival::Options& options,
                  const std::string& what, const std::filesystem::path& log) {
  fmt::print("{}\n{}\n{}", campaign.Logs(), campaign.Text(), campaign.Armed());
  if (!log.empty()) {
    fmt::print("--- the last lines of {}\n{}\n", log.filename().string(), LastLines(log));
  }
  fmt::print("survival: failed at step {}: {}\n", campaign.CurrentStep(), what);
  fmt::print("replay: {}tests/survival/run --seed {} --steps {}\n", Preset(), options.seed,
             campaign.CurrentStep());
}

int Run(const survival::Options& options) {
  survival::Campaign campaign(options);
  try {
    campaign.Run();
  } catch (const survival::Failure& failure) {
    PrintFailure(campaign, options, failure.what(), failure.Log());
    return 1;
  } catch (const std::exception& failure) {
    PrintFailure(campaign, options, failure.what(), {});
    return 1;
  }
  fmt::print("{}\nsteps: {}\nsurvival: ok\n", campaign.Text(), campaign.CurrentStep());
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  survival::Options options;
  options.seed = std::random_device{}();
  CLI::App app("Disturbs two elements at random and compares everything with a model.",
               "survival_campaign");
  app.add_option("--minutes", options.minutes, "How long")->capture_default_str();
  app.add_option("--seed", options.seed, "Of all choices; one is drawn when none is given");
  app.add_option("--steps", options.steps, "How many steps, instead of a time");
  CLI11_PARSE(app, argc, argv);
  fmt::print("survival: {}seed {}\n", Preset(), options.seed);
  try {
    return Run(options);
  } catch (const std::exception& error) {
    fmt::print(stderr, "survival: {}\n", error.what());
    return 2;
  }
}
