#include <fmt/ostream.h>
#include <CLI/CLI.hpp>

#include "command.h"
#include "replies.h"

namespace cfmctl {
namespace {

void DiscardCandidate(const Environment& environment) {
  cfm::agent::Request request;
  request.mutable_discard_candidate();
  CheckReply(environment, environment.ConnectAgent().Ask(request),
             "the candidate was not discarded");
  fmt::print(environment.out, "the candidate is discarded\n");
}

}  // namespace

void AddDiscard(CLI::App& app, Environment& environment) {
  app.description("Discard the candidate and all its changes");
  app.footer(
      "Examples:\n"
      "  cfmctl discard");
  app.callback([&environment] { DiscardCandidate(environment); });
}

}  // namespace cfmctl
