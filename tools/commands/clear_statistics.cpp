#include <fmt/format.h>
#include <fmt/ostream.h>
#include <CLI/CLI.hpp>

#include <memory>

#include "command.h"
#include "configuration.h"
#include "core/escape.h"
#include "core/failure.h"
#include "replies.h"
#include "selection_arguments.h"

namespace cfmctl {
namespace {

constexpr const char* kNotCleared = "the statistics were not cleared";

void AddParameter(cfm::agent::Invoke& invoke, const char* name,
                  const std::optional<std::string>& value) {
  if (value) {
    cfm::agent::Invoke::Parameter* const parameter = invoke.add_parameters();
    parameter->set_name(name);
    parameter->set_value(*value);
  }
}

// The manager ignores what it does not know.
void CheckNames(const Environment& environment, const MepSelection& selection) {
  if (!selection.IsEverything() && !IsConfigured(ReadConfiguration(environment), selection)) {
    throw Failure(ExitStatus::kRefused,
                  fmt::format("{}: {} is not configured", kNotCleared, ToText(selection)));
  }
}

// The daemon passes the request on whether or not anybody takes it. A manager
// that is there and does not answer takes it later.
void CheckManager(const Environment& environment) {
  try {
    const ManagerObserver manager(environment.ManagerSocket(), environment.LookTimeout());
  } catch (const Failure& failure) {
    if (failure.Status() == ExitStatus::kUnreachable) {
      throw Failure(failure.Status(), fmt::format("{}: {}", kNotCleared, failure.what()));
    }
    PrintWarnings(environment, {failure.what()});
  }
}

void ClearStatistics(const Environment& environment, const MepSelection& selection) {
  CheckNames(environment, selection);
  CheckManager(environment);
  cfm::agent::Request request;
  cfm::agent::Invoke& invoke = *request.mutable_invoke();
  invoke.set_operation("clear-statistics");
  AddParameter(invoke, "md", selection.md);
  AddParameter(invoke, "ma", selection.ma);
  AddParameter(invoke, "mep",
               selection.mep ? std::optional(std::to_string(*selection.mep)) : std::nullopt);
  CheckReply(environment, environment.ConnectAgent().Ask(request), kNotCleared);
  fmt::print(environment.out, "clearing requested: {}\n", Printable(ToText(selection)));
}

}  // namespace

void AddClearStatistics(CLI::App& app, Environment& environment) {
  app.description("Clear the statistics of MEPs");
  app.footer(
      "What is not given stands for all: an MA alone is that of any MD. The CFM manager is\n"
      "asked to clear them and does not tell when it has.\n\n"
      "Examples:\n"
      "  cfmctl clear-statistics                        of every MEP\n"
      "  cfmctl clear-statistics --md east --ma blue    of one MA\n"
      "  cfmctl clear-statistics --md east --ma blue --mep 5");
  const auto selection = std::make_shared<MepSelection>();
  AddSelectionOptions(app, *selection);
  app.callback([selection, &environment] { ClearStatistics(environment, *selection); });
}

}  // namespace cfmctl
