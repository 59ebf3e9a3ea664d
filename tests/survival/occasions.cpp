#include "occasions.h"

#include <signal.h>

#include <array>

#include "views.h"

namespace survival {
namespace {

enum class Moment { kAtOnce, kFirstByte, kCommitInProgress, kLogLine };

struct OperationOccasion {
  const char* name;
  Kind kind;
  Moment moment;
  Part part = Part::kAgent;    // whose log,
  const char* line = nullptr;  // and what it says
};

constexpr std::array kOperations = {
    OperationOccasion{"after the request for a commit", Kind::kCommit, Moment::kAtOnce},
    OperationOccasion{"when a commit is in progress", Kind::kCommit, Moment::kCommitInProgress},
    OperationOccasion{"when a commit is on disk", Kind::kCommit, Moment::kLogLine, Part::kAgent,
                      "is on disk"},
    OperationOccasion{"when a commit reaches the manager", Kind::kCommit, Moment::kLogLine,
                      Part::kManager, " of cfm-app"},
    OperationOccasion{"when a commit is answered", Kind::kCommit, Moment::kFirstByte},
    OperationOccasion{"after the commit of the candidate was asked for", Kind::kCandidateCommit,
                      Moment::kAtOnce},
    OperationOccasion{"when the candidate is being committed", Kind::kCandidateCommit,
                      Moment::kCommitInProgress},
    OperationOccasion{"after the request for a read", Kind::kRead, Moment::kAtOnce},
    OperationOccasion{"when a read has reached cfm-app", Kind::kRead, Moment::kLogLine,
                      Part::kDaemon, "GetElemCallback called"},
    OperationOccasion{"when a read is answered", Kind::kRead, Moment::kFirstByte},
    OperationOccasion{"when a read waits for the manager", Kind::kReadCounters, Moment::kLogLine,
                      Part::kDaemon, "Requesting it to CFM Manager"},
    OperationOccasion{"when a delayed read was answered by the manager", Kind::kReadCounters,
                      Moment::kLogLine, Part::kDaemon, "End of statistics receiving"},
    OperationOccasion{"when a clearing has reached cfm-app", Kind::kClear, Moment::kLogLine,
                      Part::kDaemon, "Action clear statistics request received"},
};

struct RestartOccasion {
  const char* name;
  Part restarted;
  Part part;
  const char* line;
};

constexpr std::array kRestarts = {
    RestartOccasion{"when cfm-app loads", Part::kDaemon, Part::kDaemon, "Loading initial config"},
    RestartOccasion{"when cfm-app begins to publish", Part::kDaemon, Part::kDaemon,
                    "status created with key"},
    RestartOccasion{"when cfm-app puts off to wipe what was published", Part::kDaemon,
                    Part::kDaemon, "scheduling an InvalidateAllStatus"},
    RestartOccasion{"when cfm-app registers", Part::kDaemon, Part::kAgent, "answers for"},
    RestartOccasion{"when cfm-app configures the manager", Part::kDaemon, Part::kManager,
                    "configures from now on"},
    RestartOccasion{"when cfm-app has lost the manager", Part::kManager, Part::kDaemon,
                    "lost the CFM manager"},
    RestartOccasion{"when cfm-app has found the manager again", Part::kManager, Part::kDaemon,
                    "connected to the CFM manager"},
    RestartOccasion{"when cfm-app has lost the agent", Part::kAgent, Part::kDaemon,
                    "Lost the agent"},
    RestartOccasion{"when cfm-app has found the agent again", Part::kAgent, Part::kDaemon,
                    "Connected to the agent"},
};

// An occasion that does not come is not waited for longer.
constexpr std::chrono::seconds kOccasionPatience{5};

// False when it does not come before the answer, nor in time.
bool AwaitMoment(Context& context, InFlight& operation, const OperationOccasion& occasion) {
  const auto answered = [&operation] { return operation.HasReply(); };
  const auto deadline = Clock::now() + kOccasionPatience;
  switch (occasion.moment) {
    case Moment::kAtOnce:
      operation.Send();
      return true;
    case Moment::kFirstByte:
      operation.Send();
      return context.supervisor.Await({operation.Fd()}, answered, deadline);
    case Moment::kCommitInProgress: {
      AgentView view(context.supervisor, context.node);
      operation.Send();
      return view.AwaitCommitInProgress(answered, operation.Fd());
    }
    case Moment::kLogLine: {
      LogWatch line(context.node.LogOf(occasion.part), occasion.line);
      operation.Send();
      context.supervisor.Await(
          {line.Fd(), operation.Fd()}, [&] { return line.Seen() || operation.HasReply(); },
          deadline);
      return line.Seen().has_value();
    }
  }
  return false;
}

bool AwaitRestart(Context& context, const RestartOccasion& occasion) {
  LogWatch line(context.node.LogOf(occasion.part), occasion.line);
  context.supervisor.End(context.node, occasion.restarted, SIGKILL, false);
  return context.supervisor.Await(
      {line.Fd()}, [&line] { return line.Seen().has_value(); }, Clock::now() + kOccasionPatience);
}

// The first change of status that a cut wire makes.
void AwaitStatusChange(Context& context) {
  RecordsView records(context.supervisor, context.node);
  context.wires.Cut(kLinkPort);
  context.supervisor.AwaitReadable(records.Fd(), "a change of status after a cut");
}

}  // namespace

Underway::Underway(Context& context) : context_(context) {
  const int choice =
      context.chance.Below(static_cast<int>(kOperations.size() + kRestarts.size() + 1));
  const auto at = static_cast<std::size_t>(choice);
  std::string name = "when a status changes";
  bool has_come = true;
  if (at < kOperations.size()) {
    const OperationOccasion& occasion = kOperations[at];
    name = occasion.name;
    operation_.emplace(context, context.node, occasion.kind);
    has_come = AwaitMoment(context, *operation_, occasion);
  } else if (at < kOperations.size() + kRestarts.size()) {
    const RestartOccasion& occasion = kRestarts[at - kOperations.size()];
    name = occasion.name;
    has_come = AwaitRestart(context, occasion);
  } else {
    AwaitStatusChange(context);
  }
  context.Say(has_come ? name : "not " + name);
  context.report.Count((has_come ? "fault " : "moment that did not come: ") + name);
}

std::string Underway::Finish() {
  if (!operation_) {
    return {};
  }
  std::string outcome = operation_->Finish();
  context_.Say(outcome);
  operation_.reset();
  return outcome;
}

}  // namespace survival
