#include <fmt/format.h>
#include <fmt/ostream.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <memory>

#include "choices.h"
#include "client/element_watch.h"
#include "command.h"
#include "core/counts.h"
#include "core/escape.h"
#include "core/failure.h"

namespace cfmctl {
namespace {

namespace agent = cfm::agent;

struct Options {
  std::optional<double> wait;
  std::vector<std::string> parts{std::begin(kParts), std::end(kParts)};
};

using Lines = std::vector<std::string>;

Lines AgentLines(const ElementWatch& element) {
  if (!element.Agent()) {
    return {"not there: " + element.AgentAbsence()};
  }
  const agent::Status& status = *element.Agent();
  return {fmt::format("transaction {}{}{}; database {}", status.txid(),
                      status.commit_in_progress() ? "; a commit is in progress" : "",
                      status.candidate_open() ? "; a candidate is open" : "", status.database())};
}

std::string ToText(const agent::SubscriberStatus& subscriber) {
  return fmt::format("{} (process {}) subscribed with priority {} to {}", subscriber.name(),
                     subscriber.pid(), subscriber.priority(), fmt::join(subscriber.points(), " "));
}

std::string ToText(const agent::ProviderStatus& provider) {
  Lines points(provider.callpoints().begin(), provider.callpoints().end());
  points.insert(points.end(), provider.actionpoints().begin(), provider.actionpoints().end());
  return provider.lost()
             ? fmt::format("{} is lost, which provided {}", provider.name(), fmt::join(points, " "))
             : fmt::format("{} (process {}) provides {}", provider.name(), provider.pid(),
                           fmt::join(points, " "));
}

Lines DaemonLines(const ElementWatch& element) {
  if (!element.Agent()) {
    return {"unknown: the agent, with which it would be, is not there"};
  }
  Lines lines;
  for (const agent::SubscriberStatus& subscriber : element.Agent()->subscribers()) {
    lines.push_back(ToText(subscriber));
  }
  if (lines.empty()) {
    lines.push_back("not there: nobody subscribed to the configuration");
  }
  for (const agent::ProviderStatus& provider : element.Agent()->providers()) {
    lines.push_back(ToText(provider));
  }
  if (element.Agent()->providers().empty()) {
    lines.push_back("not there: nobody provides status and statistics");
  }
  return lines;
}

bool DaemonIsThere(const ElementWatch& element) {
  return element.Agent() && !element.Agent()->subscribers().empty() &&
         std::ranges::any_of(
             element.Agent()->providers(),
             [](const agent::ProviderStatus& provider) { return !provider.lost(); });
}

Lines ManagerLines(const ElementWatch& element) {
  if (!element.Manager()) {
    return {"not there: " + element.ManagerAbsence()};
  }
  const HeldHierarchy& held = *element.Manager();
  return {held.number == 0
              ? "was given no configuration yet"
              : fmt::format("configuration {}: {}", held.number, CountsText(held.hierarchy))};
}

struct PartOfElement {
  std::string_view name;
  bool (*is_there)(const ElementWatch& element);
  Lines (*lines)(const ElementWatch& element);
};

constexpr PartOfElement kPartsOfElement[] = {
    {kParts[0], [](const ElementWatch& element) { return element.Agent().has_value(); },
     AgentLines},
    {kParts[1], DaemonIsThere, DaemonLines},
    {kParts[2], [](const ElementWatch& element) { return element.Manager().has_value(); },
     ManagerLines},
};

std::vector<std::string> Missing(const ElementWatch& element, const Options& options) {
  std::vector<std::string> missing;
  for (const PartOfElement& part : kPartsOfElement) {
    if (std::ranges::find(options.parts, part.name) != options.parts.end() &&
        !part.is_there(element)) {
      missing.emplace_back(part.name);
    }
  }
  return missing;
}

void PrintStatus(const Environment& environment, const ElementWatch& element) {
  for (const PartOfElement& part : kPartsOfElement) {
    std::string_view title = part.name;
    for (const std::string& line : part.lines(element)) {
      fmt::print(environment.out, "{:<8} {}\n", title, Printable(line));
      title = {};
    }
  }
}

void Status(const Environment& environment, const Options& options) {
  const auto wait = ToMilliseconds(options.wait.value_or(0));
  const Deadline deadline = Deadline::After(wait);
  const auto timeout = options.wait ? std::min(environment.Timeout(), wait) : environment.Timeout();
  ElementWatch element(environment.AgentSocket(), environment.ManagerSocket(), timeout);
  bool in_time = true;
  while (in_time && options.wait && !Missing(element, options).empty()) {
    in_time = element.AwaitChange(deadline);
  }
  PrintStatus(environment, element);
  const std::vector<std::string> missing = Missing(element, options);
  if (!missing.empty() && options.wait) {
    throw Failure(ExitStatus::kTimedOut,
                  fmt::format("not there after {} s: {}", *options.wait, fmt::join(missing, ", ")));
  }
  if (!missing.empty()) {
    throw Failure(ExitStatus::kUnreachable, fmt::format("not there: {}", fmt::join(missing, ", ")));
  }
}

}  // namespace

void AddStatus(CLI::App& app, Environment& environment) {
  app.description("Show whether agent, daemon and CFM manager are there, or wait for them");
  app.footer(
      "Exits with 0 when all that was asked for is there, else with 3, after --wait with 4.\n\n"
      "Examples:\n"
      "  cfmctl status\n"
      "  cfmctl status --wait 30                      in a script, before the first commit\n"
      "  cfmctl status --wait 5 --for agent,manager   whether or not there is a daemon");
  const auto options = std::make_shared<Options>();
  app.add_option("--wait", options->wait, "Wait by events for at most so many seconds")
      ->check(CLI::Range(0.0, 86400.0));
  app.add_option("--for", options->parts, "agent, daemon, manager: what has to be there (all)")
      ->delimiter(',')
      ->check(OneOf(kParts));
  app.callback([options, &environment] { Status(environment, *options); });
}

}  // namespace cfmctl
