#include <fmt/ostream.h>
#include <CLI/CLI.hpp>

#include <memory>

#include "command.h"
#include "core/escape.h"
#include "replies.h"
#include "selection_arguments.h"

namespace cfmctl {
namespace {

void AddParameter(cfm::agent::Invoke& invoke, const char* name,
                  const std::optional<std::string>& value) {
  if (value) {
    cfm::agent::Invoke::Parameter* const parameter = invoke.add_parameters();
    parameter->set_name(name);
    parameter->set_value(*value);
  }
}

void ClearStatistics(const Environment& environment, const MepSelection& selection) {
  cfm::agent::Request request;
  cfm::agent::Invoke& invoke = *request.mutable_invoke();
  invoke.set_operation("clear-statistics");
  AddParameter(invoke, "md", selection.md);
  AddParameter(invoke, "ma", selection.ma);
  AddParameter(invoke, "mep",
               selection.mep ? std::optional(std::to_string(*selection.mep)) : std::nullopt);
  CheckReply(environment, environment.ConnectAgent().Ask(request),
             "the statistics were not cleared");
  fmt::print(environment.out, "statistics cleared: {}\n", Printable(ToText(selection)));
}

}  // namespace

void AddClearStatistics(CLI::App& app, Environment& environment) {
  app.description("Clear the statistics of MEPs");
  app.footer(
      "What is not given stands for all: an MA alone is that of any MD.\n\n"
      "Examples:\n"
      "  cfmctl clear-statistics                        of every MEP\n"
      "  cfmctl clear-statistics --md east --ma blue    of one MA\n"
      "  cfmctl clear-statistics --md east --ma blue --mep 5");
  const auto selection = std::make_shared<MepSelection>();
  AddSelectionOptions(app, *selection);
  app.callback([selection, &environment] { ClearStatistics(environment, *selection); });
}

}  // namespace cfmctl
