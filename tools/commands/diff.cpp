#include <fmt/format.h>
#include <fmt/ostream.h>
#include <CLI/CLI.hpp>

#include "command.h"
#include "core/escape.h"
#include "replies.h"

namespace cfmctl {
namespace {

namespace agent = cfm::agent;

std::string WithValue(const std::string& path, const std::string& value) {
  return value.empty() ? path : path + ' ' + value;
}

std::string ToLine(const agent::DiffLine& line) {
  switch (line.kind()) {
    case agent::DiffLine::ADDED:
      return "+ " + WithValue(line.path(), line.new_value());
    case agent::DiffLine::REMOVED:
      return "- " + WithValue(line.path(), line.old_value());
    default:
      return fmt::format("~ {} {} -> {}", line.path(), line.old_value(), line.new_value());
  }
}

void Diff(const Environment& environment) {
  agent::Request request;
  request.mutable_diff_candidate();
  const agent::Reply reply = environment.ConnectAgent().Ask(request);
  CheckReply(environment, reply, "the candidate cannot be compared");
  for (const agent::DiffLine& line : reply.diff()) {
    fmt::print(environment.out, "{}\n", Printable(ToLine(line)));
  }
  if (reply.diff().empty()) {
    fmt::print(environment.out, "the candidate changes nothing\n");
  }
}

}  // namespace

void AddDiff(CLI::App& app, Environment& environment) {
  app.description("Show what the candidate would change");
  app.footer(
      "One line per node: + it is new, - it goes away, ~ its value changes.\n\n"
      "Examples:\n"
      "  cfmctl diff");
  app.callback([&environment] { Diff(environment); });
}

}  // namespace cfmctl
