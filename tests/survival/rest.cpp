#include "rest.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <iterator>
#include <utility>

#include "ends.h"
#include "expected_status.h"
#include "failure.h"
#include "hierarchy_text.h"
#include "running_tree.h"
#include "status_judge.h"
#include "views.h"

namespace survival {
namespace {

// Attempts that disturbances in between may cost.
constexpr int kAttempts = 20;

// Reads in a row from under which cfm-app may wipe with nothing new happening:
// it does so once for each process that it has lost.
constexpr int kMostWipes = 2;

// A read had an answer, and not all that is to be in it.
class Incomplete : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

using Names = std::multiset<std::string>;

Names Minus(const Names& left, const Names& right) {
  Names difference;
  std::ranges::set_difference(left, right, std::inserter(difference, difference.end()));
  return difference;
}

void CompareRunning(Supervisor& supervisor, Node& node, Report& report) {
  test::FrontEnd front_end(node.Element().RuntimeDirectory());
  cfm::agent::Request request;
  request.mutable_get()->set_datastore(cfm::agent::DATASTORE_RUNNING);
  request.mutable_get()->set_format(cfm::agent::FORMAT_TREE);
  const cfm::agent::Reply reply = Ask(supervisor, front_end, request);
  if (reply.errors_size() > 0) {
    throw Failure("read of the running configuration: " + reply.errors(0).message());
  }
  const test::Configuration running = ConfigurationIn(reply.node());
  if (node.maybe) {
    const bool committed = running == node.Full(*node.maybe);
    report.Count(committed ? "commit of unknown outcome: committed"
                           : "commit of unknown outcome: not committed");
    if (committed) {
      node.random = *node.maybe;
    }
    node.maybe.reset();
  }
  if (node.may_be_found && running == node.Full(*node.may_be_found)) {
    report.Count("commit refused that was found later");
    node.random = *std::exchange(node.may_be_found, std::nullopt);
  }
  if (running != node.Current()) {
    throw Failure(fmt::format("{}: the running configuration is\n{}\nand has to be\n{}",
                              node.Name(), test::ToText(test::Expected(running)),
                              test::ToText(test::Expected(node.Current()))));
  }
}

void CompareManager(Supervisor& supervisor, Node& node) {
  const cfm::Hierarchy expected = test::Expected(node.Current());
  if (const auto held = ManagerView(supervisor, node).AwaitEqual(expected)) {
    throw Failure(fmt::format("{}: the manager holds\n{}\nand has to hold\n{}", node.Name(),
                              test::ToText(*held), test::ToText(expected)),
                  node.LogOf(Part::kManager));
  }
}

// No wire is cut at rest.
constexpr const char* kUp = "up, port up";

std::string StateOfLocalEnd(const RecordsView& records, Node& node) {
  const std::string end = node.LocalEnd();
  return fmt::format("{}, port {}", records.LeafOf(end, "tx-interface-status-tlv"),
                     records.LeafOf(end, "tx-port-status-tlv"));
}

void CompareRecords(Supervisor& supervisor, Node& node) {
  RecordsView records(supervisor, node);
  const Names expected = ExpectedRecords(node.Current());
  const auto are_right = [&] {
    return records.Names() == expected && records.MissingLeaf().empty() &&
           StateOfLocalEnd(records, node) == kUp;
  };
  if (!records.AwaitUntil(are_right)) {
    throw Failure(
        fmt::format("{}: the operational lists lack {} and have {} too many, {} is missing, the "
                    "local end of the link is {}",
                    node.Name(), Minus(expected, records.Names()), Minus(records.Names(), expected),
                    records.MissingLeaf(), StateOfLocalEnd(records, node)));
  }
}

// Each record that belongs to the configuration, with all its leaves, counters
// included, and the values that follow from the configuration.
void ReadEverything(Supervisor& supervisor, Node& node) {
  test::FrontEnd front_end(node.Element().RuntimeDirectory());
  const cfm::agent::Reply reply = Ask(supervisor, front_end, test::ReadOf("/status"));
  if (reply.errors_size() > 0) {
    throw Incomplete("read of the status: " + reply.errors(0).message());
  }
  if (reply.warnings_size() > 0) {
    throw Incomplete("read of the status: " + reply.warnings(0));
  }
  try {
    test::CheckAtRest(test::RecordsIn(reply.node()), test::ConfigurationHistory(node.Current()));
  } catch (const std::runtime_error& error) {
    throw Incomplete(std::string("read of the status: ") + error.what());
  }
}

void LookForReports(Node& node) {
  for (const Part part : kParts) {
    const std::string log = ReadLog(node.LogOf(part), node.Of(part).log_begin);
    if (const std::string found = SanitizerReport(log); !found.empty()) {
      throw Failure(node.NameOf(part) + ": " + found, node.LogOf(part));
    }
  }
}

void Compare(Supervisor& supervisor, Node& node, Report& report) {
  supervisor.AwaitReady(node);
  AgentView(supervisor, node).AwaitDaemon();
  CompareRunning(supervisor, node, report);
  CompareManager(supervisor, node);
  CompareRecords(supervisor, node);
  ReadEverything(supervisor, node);
}

}  // namespace

std::multiset<std::string> ExpectedRecords(const test::Configuration& configuration) {
  Names names;
  for (const test::RecordIdentity& record : test::ExpectedStatusOf(configuration).published) {
    names.insert(fmt::format("{} {} {} {}", record.list, record.md, record.ma, record.mep));
  }
  return names;
}

// A process may still have to end because of what was before, or come to its
// fail point; then what the comparison is connected to ends, and it begins anew.
// And where something has happened cfm-app may still wipe and publish anew what
// was there already. Whatever else is not complete is a failure.
void AwaitRest(Supervisor& supervisor, Node& node, Report& report) {
  std::string disturbance;
  int wipes = 0;
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    const Disturbances before = node.so_far;
    const std::uintmax_t log = std::filesystem::file_size(node.LogOf(Part::kAgent));
    try {
      Compare(supervisor, node, report);
      LookForReports(node);
      node.at_rest = before;
      node.disk.has_failed = node.disk.may_refuse;
      node.agent_log_at_rest = log;
      return;
    } catch (const Failure&) {
      throw;
    } catch (const Incomplete& error) {
      disturbance = error.what();
      const bool excused = supervisor.Excuses(node);
      wipes = node.so_far.all == before.all ? wipes + 1 : 0;
      if (!excused || wipes > kMostWipes) {
        throw Failure(fmt::format("{}: {}", node.Name(), disturbance), node.LogOf(Part::kDaemon));
      }
      report.Count("read at rest begun anew: what was before was not over");
    } catch (const std::exception& error) {
      disturbance = error.what();
      if (!supervisor.SeesDisturbance(node, before.all)) {
        throw Failure(fmt::format("{}, undisturbed: {}", node.Name(), disturbance),
                      node.LogOf(Part::kAgent));
      }
      report.Count("comparison begun anew after a disturbance");
    }
  }
  throw Failure(node.Name() + " does not come to rest: " + disturbance);
}

}  // namespace survival
