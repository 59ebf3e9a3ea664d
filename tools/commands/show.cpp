#include <fmt/ostream.h>

#include <memory>

#include "choices.h"
#include "command.h"
#include "core/failure.h"
#include "core/hierarchy_text.h"
#include "replies.h"
#include "selection_arguments.h"
#include "show_status.h"

namespace cfmctl {
namespace {

struct Options {
  std::string what;
  MepSelection selection;
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
  PrintWarnings(environment, manager.Warnings());
  if (format == "table") {
    PrintTable(environment, *held);
  } else {
    const std::vector<Entry> entries = ToEntries(held->hierarchy);
    fmt::print(environment.out, "{}", format == "xml" ? ToXml(entries) : ToJson(entries));
  }
}

void Show(const Environment& environment, const Options& options) {
  if (options.what != "manager") {
    const bool is_status = options.what == "status";
    ShowStatus(environment, is_status ? StatusView::kStatus : StatusView::kStatistics,
               options.selection, options.format);
    return;
  }
  if (!options.selection.IsEverything()) {
    throw Failure(ExitStatus::kUsage, "show manager shows all of it and takes no MD");
  }
  ShowManager(environment, options.format);
}

}  // namespace

void AddShow(CLI::App& app, Environment& environment) {
  app.description("Show status and statistics of MEPs, or what the CFM manager holds");
  app.footer(
      "status: what each MEP sees, its defects, and how long ago a remote MEP changed its\n"
      "state. statistics: its counters. manager: every field of the hierarchy with its\n"
      "number, and its meaning where it has one.\n" +
      std::string(kSelectionHelp) +
      "\n\n"
      "Examples:\n"
      "  cfmctl show status                       everything\n"
      "  cfmctl show status east blue 5           one MEP\n"
      "  cfmctl show statistics east blue         one MA\n"
      "  cfmctl show statistics --format json     for a program\n"
      "  cfmctl show manager");
  const auto options = std::make_shared<Options>();
  app.add_option("WHAT", options->what, "manager, status or statistics")
      ->required()
      ->check(OneOf(kShown));
  AddSelectionWords(app, options->selection);
  app.add_option("--format", options->format, "table (the default), xml or json")
      ->check(OneOf(kViewFormats));
  app.callback([options, &environment] { Show(environment, *options); });
}

}  // namespace cfmctl
