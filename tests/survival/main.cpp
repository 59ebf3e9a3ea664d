// The fault campaign. See docs/reliability.md.

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <random>
#include <string>

#include "campaign.h"
#include "options.h"

namespace {

// As tests/survival/run was given it.
std::string Preset() {
  const char* preset = std::getenv("CFM_PRESET");
  return preset == nullptr ? "" : fmt::format("CFM_PRESET={} ", preset);
}

int Run(const survival::Options& options) {
  survival::Campaign campaign(options);
  try {
    campaign.Run();
  } catch (const std::exception& failure) {
    fmt::print("{}\n{}\nsurvival: failed at step {}: {}\n", campaign.Logs(), campaign.Text(),
               campaign.CurrentStep(), failure.what());
    fmt::print("replay: {}tests/survival/run --seed {} --steps {}\n", Preset(), options.seed,
               campaign.CurrentStep());
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
