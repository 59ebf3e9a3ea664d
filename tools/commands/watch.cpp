#include <fmt/chrono.h>
#include <fmt/format.h>
#include <fmt/ostream.h>
#include <CLI/CLI.hpp>

#include <algorithm>
#include <chrono>
#include <memory>

#include "client/daemon_presence.h"
#include "client/poll_readable.h"
#include "client/status_watch.h"
#include "command.h"
#include "configuration.h"
#include "core/condition_watch.h"
#include "core/escape.h"
#include "core/failure.h"
#include "core/status_condition.h"
#include "replies.h"
#include "selection_arguments.h"
#include "validators.h"

namespace cfmctl {
namespace {

constexpr std::size_t kMaxShown = 10;

struct Options {
  MepSelection selection;
  std::vector<std::string> conditions;
  std::optional<std::size_t> count;
};

std::vector<StatusCondition> ParseConditions(const std::vector<std::string>& texts) {
  try {
    std::vector<StatusCondition> conditions;
    std::ranges::transform(texts, std::back_inserter(conditions), ParseCondition);
    return conditions;
  } catch (const ConditionError& error) {
    throw Failure(ExitStatus::kUsage, error.what());
  }
}

// Of this time, in UTC: 2026-11-20T23:05:00.123Z
std::string TimeStamp() {
  using namespace std::chrono;
  const auto now = floor<milliseconds>(system_clock::now());
  const auto seconds = floor<std::chrono::seconds>(now);
  return fmt::format("{:%Y-%m-%dT%H:%M:%S}.{:03}Z", fmt::gmtime(system_clock::to_time_t(seconds)),
                     (now - seconds).count());
}

// What a watch is for: lines, until enough was seen.
class Observation {
 public:
  Observation(const Environment& environment, const Options& options)
      : environment_(environment), options_(options) {
    const auto conditions = ParseConditions(options.conditions);
    if (conditions.empty() && options.selection.IsEverything()) {
      return;
    }
    const TreeNode configuration = ReadConfiguration(environment);
    if (!IsConfigured(configuration, options.selection)) {
      PrintWarnings(environment, {ToText(options.selection) + " is not configured"});
    }
    // A MEP that was committed a moment ago has no record yet, so the records
    // alone do not tell who has to meet a condition.
    const auto expected = ConfiguredMeps(configuration, options.selection);
    for (const StatusCondition& condition : conditions) {
      conditions_.emplace_back(condition, options.selection, expected);
    }
  }

  void Begin(const StatusBoard& board, bool daemon_is_there, const std::string& loss) {
    fmt::print(environment_.err, "watching {}, {} with a status\n",
               Printable(ToText(options_.selection)), board.Count(options_.selection));
    environment_.err.flush();
    for (const auto& [path, record] : board.All()) {
      Follow(path, &record);
    }
    daemon_is_there_ = daemon_is_there;
    if (!daemon_is_there) {
      WarnOfAbsence(loss);
    }
  }

  // What the status says is frozen while the daemon is away.
  void SetDaemon(bool is_there, const std::string& loss) {
    if (is_there == daemon_is_there_) {
      return;
    }
    daemon_is_there_ = is_there;
    if (is_there) {
      fmt::print(environment_.err, "cfmctl: the daemon is there again\n");
    } else {
      WarnOfAbsence(loss);
    }
  }

  void Take(const StatusNews& news, const StatusBoard& board) {
    for (const StatusChange& change : news.changes) {
      if (options_.selection.Selects(change.name) && !EnoughLines()) {
        fmt::print(environment_.out, "{} {}\n", TimeStamp(), Printable(ToText(change)));
        environment_.out.flush();
        ++printed_;
      }
    }
    for (const std::string& path : news.paths) {
      Follow(path, board.Find(path));
    }
  }

  bool IsOver() const {
    const bool conditions_hold = !conditions_.empty() && daemon_is_there_ &&
                                 std::ranges::all_of(conditions_, &ConditionWatch::Holds);
    return EnoughLines() || conditions_hold || !environment_.out;
  }

  // A watch that waits for nothing has done what it should.
  void TimeOut() const {
    if (conditions_.empty() && !options_.count) {
      return;
    }
    std::vector<std::string> lines = Unmet();
    const std::size_t all = lines.size();
    lines.resize(std::min(all, kMaxShown));
    if (all > kMaxShown) {
      lines.push_back(fmt::format("and {} more", all - kMaxShown));
    }
    throw Failure(ExitStatus::kTimedOut,
                  fmt::format("after {} s the watch ended without what it waited for",
                              environment_.timeout_seconds.value_or(0)),
                  lines);
  }

 private:
  bool EnoughLines() const { return options_.count && printed_ >= *options_.count; }

  void WarnOfAbsence(const std::string& loss) const {
    PrintWarnings(environment_, {fmt::format("the daemon is not there{}: the status stands still "
                                             "until it is",
                                             loss.empty() ? "" : ", " + loss)});
    environment_.err.flush();
  }

  void Follow(const std::string& path, const TreeNode* record) {
    for (ConditionWatch& condition : conditions_) {
      condition.Update(path, record);
    }
  }

  std::vector<std::string> Unmet() const {
    std::vector<std::string> lines;
    if (!daemon_is_there_) {
      lines.emplace_back("the daemon is not there");
    }
    for (const ConditionWatch& condition : conditions_) {
      std::ranges::move(condition.Unmet(), std::back_inserter(lines));
    }
    return lines;
  }

  const Environment& environment_;
  const Options& options_;
  std::vector<ConditionWatch> conditions_;
  bool daemon_is_there_ = false;
  std::size_t printed_ = 0;
};

// Takes the news that are there, until the observation is over or the time is.
// Whether all were taken.
bool TakeNews(const Environment& environment, StatusWatch& watch, Observation& observation,
              const Deadline& deadline) {
  const Deadline now = Deadline::After(std::chrono::milliseconds(0));
  while (!observation.IsOver() && !deadline.Passed()) {
    const auto news = watch.Next(now);
    if (!news) {
      return true;
    }
    PrintWarnings(environment, watch.TakeWarnings());
    observation.Take(*news, watch.Board());
  }
  return false;
}

void Watch(const Environment& environment, const Options& options) {
  const Deadline deadline =
      environment.timeout_seconds ? Deadline::After(environment.Timeout()) : Deadline::Never();
  Observation observation(environment, options);
  DaemonWatch daemon(environment.ConnectAgent(), Deadline::After(environment.Timeout()));
  // A daemon that comes back first withdraws what it said before, and what it
  // says before it goes is frozen then. So it has to be there before news are
  // taken and after.
  const bool daemon_is_there = daemon.IsThere();
  StatusWatch watch(environment.ConnectAgent(), Deadline::After(environment.Timeout()));
  PrintWarnings(environment, watch.TakeWarnings());
  observation.Begin(watch.Board(), daemon_is_there, daemon.Loss());
  while (true) {
    const bool was_there = daemon.IsThere();
    const bool all_taken = TakeNews(environment, watch, observation, deadline);
    const bool is_there = daemon.IsThere();
    observation.SetDaemon(was_there && is_there, daemon.Loss());
    if (observation.IsOver()) {
      return;
    }
    const bool may_sleep = all_taken && was_there == is_there;
    const bool is_late =
        deadline.Passed() || (may_sleep && !PollReadable({watch.Fd(), daemon.Fd()}, deadline));
    if (is_late) {
      return observation.TimeOut();
    }
  }
}

}  // namespace

void AddWatch(CLI::App& app, Environment& environment) {
  app.description("Show changes of status as they happen, or wait for a status");
  app.footer(
      "One line for each change, with the time in UTC, until Ctrl-C. A CONDITION is LEAF=VALUE\n"
      "(every selected MEP has it) or LEAF!=VALUE (none has it), of the leaves that \"cfmctl show\n"
      "status --format xml\" shows, such as state and tx-rdi; or defect=LETTER, defect!=LETTER "
      "for\n"
      "one of the defects. It waits also for MEPs that are configured and have no status yet,\n"
      "and for a daemon that is away. With --timeout the watch ends after so many seconds, with\n"
      "status 4 when it waits for something.\n" +
      std::string(kSelectionHelp) +
      "\n\n"
      "Examples:\n"
      "  cfmctl watch                                                    everything\n"
      "  cfmctl watch --until state=rmep-ok --timeout 30                 every remote MEP is ok\n"
      "  cfmctl watch --until defect=R --timeout 10 east blue 5          the MEP misses a CCM\n"
      "  cfmctl watch --until 'defect!=R' --timeout 10 east blue 5       no longer\n"
      "  cfmctl watch --count 1 east blue                                the next change");
  const auto options = std::make_shared<Options>();
  AddSelectionWords(app, options->selection);
  app.add_option("--until", options->conditions,
                 "CONDITION that ends the watch; of several, all have to hold at once")
      ->allow_extra_args(false);
  app.add_option("--count", options->count, "Number of lines after which the watch ends")
      ->check(CountOf("lines"));
  app.callback([options, &environment] { Watch(environment, *options); });
}

}  // namespace cfmctl
