#include <fmt/ostream.h>

#include <memory>

#include "choices.h"
#include "command.h"
#include "core/escape.h"
#include "core/failure.h"
#include "core/hierarchy_text.h"

namespace cfmctl {
namespace {

struct Options {
  std::string what;
  std::string format = "table";
};

void PrintTable(const Environment& environment, const HeldHierarchy& held) {
  if (held.number == 0 && held.hierarchy.empty()) {
    fmt::print(environment.out, "the CFM manager was given no configuration yet\n");
  } else if (held.hierarchy.empty()) {
    fmt::print(environment.out, "the CFM manager holds an empty configuration\n");
  }
  fmt::print(environment.out, "{}", ToListing(ToEntries(held.hierarchy)));
}

void ShowManager(const Environment& environment, const std::string& format) {
  ManagerObserver manager = environment.ConnectManager();
  const auto held = manager.Next(Deadline::After(environment.Timeout()));
  if (!held) {
    throw Failure(ExitStatus::kTimedOut, "the CFM manager did not say what it holds");
  }
  for (const std::string& warning : manager.Warnings()) {
    fmt::print(environment.err, "cfmctl: warning: {}\n", Printable(warning));
  }
  if (format == "table") {
    PrintTable(environment, *held);
  } else {
    const std::vector<Entry> entries = ToEntries(held->hierarchy);
    fmt::print(environment.out, "{}", format == "xml" ? ToXml(entries) : ToJson(entries));
  }
}

}  // namespace

void AddShow(CLI::App& app, Environment& environment) {
  app.description("Show what the CFM manager holds");
  app.footer(
      "Every field of the hierarchy with its number, and its meaning where it has one.\n\n"
      "Examples:\n"
      "  cfmctl show manager\n"
      "  cfmctl show manager --format json");
  const auto options = std::make_shared<Options>();
  app.add_option("WHAT", options->what, "manager")->required()->check(OneOf(kShown));
  app.add_option("--format", options->format, "table (the default), xml or json")
      ->check(OneOf(kViewFormats));
  app.callback([options, &environment] { ShowManager(environment, options->format); });
}

}  // namespace cfmctl
