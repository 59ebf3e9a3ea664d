#include <fmt/chrono.h>
#include <fmt/format.h>
#include <fmt/ostream.h>
#include <CLI/CLI.hpp>

#include <algorithm>
#include <chrono>
#include <memory>

#include "client/status_watch.h"
#include "client/tree_codec.h"
#include "command.h"
#include "core/escape.h"
#include "core/failure.h"
#include "core/status_condition.h"
#include "core/tree_location.h"
#include "replies.h"
#include "selection_arguments.h"

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

// A MEP that was committed a moment ago has no record yet, so the records
// alone do not tell who has to meet a condition.
std::vector<MepName> ReadExpectedMeps(const Environment& environment,
                                      const MepSelection& selection) {
  cfm::agent::Request request;
  request.mutable_get()->set_datastore(cfm::agent::DATASTORE_RUNNING);
  request.mutable_get()->set_format(cfm::agent::FORMAT_TREE);
  const cfm::agent::Reply reply = environment.ConnectAgent().Ask(request);
  CheckReply(environment, reply, "the configuration cannot be read");
  const TreeNode top = ToTree(reply.node());
  std::vector<MepName> meps;
  for (const TreeNode* cfm : NodesAt(top, ParsePath(""))) {
    std::ranges::copy_if(ConfiguredMeps(*cfm), std::back_inserter(meps),
                         [&](const MepName& name) { return selection.Selects(name); });
  }
  return meps;
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
      : environment_(environment),
        options_(options),
        conditions_(ParseConditions(options.conditions)) {
    if (!conditions_.empty()) {
      expected_ = ReadExpectedMeps(environment, options.selection);
    }
  }

  void Announce(const StatusBoard& board) {
    fmt::print(environment_.err, "watching {}, {} with a status\n",
               Printable(ToText(options_.selection)), board.Paths(options_.selection).size());
    environment_.err.flush();
  }

  void Print(const std::vector<StatusChange>& changes) {
    for (const StatusChange& change : changes) {
      if (options_.selection.Selects(change.name) && !EnoughLines()) {
        fmt::print(environment_.out, "{} {}\n", TimeStamp(), Printable(ToText(change)));
        environment_.out.flush();
        ++printed_;
      }
    }
  }

  bool IsOver(const StatusBoard& board) const {
    const bool conditions_hold = !conditions_.empty() && Unmet(board).empty();
    return EnoughLines() || conditions_hold || !environment_.out;
  }

  [[noreturn]] void TimeOut(const StatusBoard& board) const {
    std::vector<std::string> lines = Unmet(board);
    const std::size_t all = lines.size();
    lines.resize(std::min(all, kMaxShown));
    if (all > kMaxShown) {
      lines.push_back(fmt::format("and {} more", all - kMaxShown));
    }
    std::ranges::transform(lines, lines.begin(), Printable);
    throw Failure(ExitStatus::kTimedOut,
                  fmt::format("after {} s the watch ended without what it waited for",
                              environment_.timeout_seconds.value_or(0)),
                  lines);
  }

 private:
  bool EnoughLines() const { return options_.count && printed_ >= *options_.count; }

  std::vector<std::string> Unmet(const StatusBoard& board) const {
    const auto records = board.Records(options_.selection);
    std::vector<std::string> lines;
    for (const StatusCondition& condition : conditions_) {
      std::ranges::move(cfmctl::Unmet(condition, records, expected_), std::back_inserter(lines));
    }
    return lines;
  }

  const Environment& environment_;
  const Options& options_;
  std::vector<StatusCondition> conditions_;
  std::vector<MepName> expected_;
  std::size_t printed_ = 0;
};

void Watch(const Environment& environment, const Options& options) {
  const Deadline deadline =
      environment.timeout_seconds ? Deadline::After(environment.Timeout()) : Deadline::Never();
  Observation observation(environment, options);
  StatusWatch watch(environment.ConnectAgent(), Deadline::After(environment.Timeout()));
  PrintWarnings(environment, watch.TakeWarnings());
  observation.Announce(watch.Board());
  while (!observation.IsOver(watch.Board())) {
    const auto changes = watch.Next(deadline);
    if (!changes) {
      observation.TimeOut(watch.Board());
    }
    PrintWarnings(environment, watch.TakeWarnings());
    observation.Print(*changes);
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
      "one of the defects. It waits also for MEPs that are configured and have no status yet.\n"
      "With --timeout the watch ends with status 4 after so many seconds.\n" +
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
      ->check(CLI::PositiveNumber);
  app.callback([options, &environment] { Watch(environment, *options); });
}

}  // namespace cfmctl
