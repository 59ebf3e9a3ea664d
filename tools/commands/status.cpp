#include <fmt/format.h>
#include <fmt/ostream.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <memory>
#include <system_error>

#include "choices.h"
#include "client/daemon_presence.h"
#include "client/element_watch.h"
#include "client/open_stream.h"
#include "command.h"
#include "core/calendar.h"
#include "core/counts.h"
#include "core/escape.h"
#include "core/failure.h"
#include "validators.h"

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

std::string Since(std::int64_t seconds) {
  return seconds > 0 ? " since " + CalendarText(seconds) : "";
}

std::string Silence(std::uint32_t seconds) {
  return seconds > 0 ? fmt::format("; it has not answered for {} s", seconds) : "";
}

std::string ToText(const agent::SubscriberStatus& subscriber) {
  return fmt::format("{} (process {}) subscribed with priority {} to {}{}{}", subscriber.name(),
                     subscriber.pid(), subscriber.priority(), fmt::join(subscriber.points(), " "),
                     Since(subscriber.since()), Silence(subscriber.silent_seconds()));
}

std::string ToText(const agent::ProviderStatus& provider) {
  Lines points(provider.callpoints().begin(), provider.callpoints().end());
  points.insert(points.end(), provider.actionpoints().begin(), provider.actionpoints().end());
  return provider.lost()
             ? fmt::format("{}, which provided {}", LossText(provider), fmt::join(points, " "))
             : fmt::format("{} (process {}) provides {}{}{}", provider.name(), provider.pid(),
                           fmt::join(points, " "), Since(provider.since()),
                           Silence(provider.silent_seconds()));
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
  for (const agent::SubscriberStatus& lost : element.Agent()->lost_subscribers()) {
    lines.push_back(fmt::format("{}, which subscribed with priority {} to {}", LossText(lost),
                                lost.priority(), fmt::join(lost.points(), " ")));
  }
  for (const agent::ProviderStatus& provider : element.Agent()->providers()) {
    lines.push_back(ToText(provider));
  }
  if (element.Agent()->providers().empty()) {
    lines.push_back("not there: nobody provides status and statistics");
  }
  return lines;
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
  void (*look)(ElementWatch& element);
  bool (*is_there)(const ElementWatch& element);
  Lines (*lines)(const ElementWatch& element);
};

constexpr PartOfElement kPartsOfElement[] = {
    {kParts[0], [](ElementWatch& element) { element.LookAtAgent(); },
     [](const ElementWatch& element) { return element.Agent().has_value(); }, AgentLines},
    {kParts[1], [](ElementWatch&) {},  // the agent tells of it
     [](const ElementWatch& element) { return element.Agent() && DaemonIsThere(*element.Agent()); },
     DaemonLines},
    {kParts[2], [](ElementWatch& element) { element.LookAtManager(); },
     [](const ElementWatch& element) { return element.Manager().has_value(); }, ManagerLines},
};

bool IsAskedFor(const Options& options, std::string_view part) {
  return std::ranges::find(options.parts, part) != options.parts.end();
}

// The daemon gives the manager its configuration after it has become known.
bool LacksConfiguration(const ElementWatch& element, const Options& options) {
  return IsAskedFor(options, "daemon") && IsAskedFor(options, "manager") && element.Agent() &&
         element.Agent()->txid() > 0 && element.Manager() && element.Manager()->number == 0;
}

std::vector<std::string> Missing(const ElementWatch& element, const Options& options) {
  std::vector<std::string> missing;
  for (const PartOfElement& part : kPartsOfElement) {
    if (IsAskedFor(options, part.name) && !part.is_there(element)) {
      missing.emplace_back(part.name);
    }
  }
  if (LacksConfiguration(element, options)) {
    missing.emplace_back("the manager's configuration");
  }
  return missing;
}

void PrintPart(const Environment& environment, const ElementWatch& element,
               const PartOfElement& part) {
  std::string_view title = part.name;
  for (const std::string& line : part.lines(element)) {
    fmt::print(environment.out, "{:<8} {}\n", title, Printable(line));
    title = {};
  }
  environment.out.flush();
}

// What hangs must not keep what is known back.
void LookAndPrint(const Environment& environment, ElementWatch& element) {
  for (const PartOfElement& part : kPartsOfElement) {
    part.look(element);
    PrintPart(environment, element, part);
  }
}

void AwaitAll(const Environment& environment, ElementWatch& element, const Options& options,
              const Deadline& deadline) {
  try {
    while (!Missing(element, options).empty() && element.AwaitChange(deadline)) {
    }
  } catch (const std::system_error& error) {
    throw Failure(ExitStatus::kUnreachable,
                  fmt::format("cannot watch for the element in {}: {}; {}", environment.runtime_dir,
                              error.code().message(), ReachAdvice(error.code(), "agentd")));
  }
  for (const PartOfElement& part : kPartsOfElement) {
    PrintPart(environment, element, part);
  }
}

void Status(const Environment& environment, const Options& options) {
  const auto wait = ToMilliseconds(options.wait.value_or(0));
  const bool waits = wait.count() > 0;
  const Deadline deadline = Deadline::After(wait);
  ElementWatch element(environment.AgentSocket(), environment.ManagerSocket(),
                       waits ? std::min(environment.Timeout(), wait) : environment.LookTimeout());
  if (waits) {
    AwaitAll(environment, element, options, deadline);
  } else {
    LookAndPrint(environment, element);
  }
  const std::vector<std::string> missing = Missing(element, options);
  if (!missing.empty() && waits) {
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
      "Exits with 0 when all that was asked for is there, else with 3, after --wait with 4.\n"
      "The daemon and the manager are ready when what is committed has reached the manager.\n\n"
      "Examples:\n"
      "  cfmctl status\n"
      "  cfmctl status --wait 30                      in a script, before the first commit\n"
      "  cfmctl status --wait 5 --for agent,manager   whether or not there is a daemon");
  const auto options = std::make_shared<Options>();
  app.add_option("--wait", options->wait, "Wait by events for at most so many seconds; 0: one look")
      ->check(SecondsFrom(0));
  app.add_option("--for", options->parts, "agent, daemon, manager: what has to be there (all)")
      ->delimiter(',')
      ->check(OneOf(kParts));
  app.callback([options, &environment] { Status(environment, *options); });
}

}  // namespace cfmctl
