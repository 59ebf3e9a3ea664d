#include "operations.h"

#include <fmt/format.h>
#include <poll.h>

#include <algorithm>
#include <array>
#include <fstream>

#include "failure.h"
#include "rest.h"
#include "views.h"

namespace survival {
namespace {

using cfm::agent::Edit;
using cfm::agent::EditOperation;
using cfm::agent::Reply;
using cfm::agent::Request;

Request ClearAll() {
  Request request;
  request.mutable_invoke()->set_operation("clear-statistics");
  return request;
}

constexpr const char* kDone = "commit reported as done";
constexpr const char* kRefusedByDisk = "commit refused by a failing disk";
constexpr const char* kRefused = "commit refused after a disturbance";
// What the agent says where it could neither sync a change nor take it back.
constexpr const char* kMayBeFound = "the change may be found in the file";

std::vector<std::string> LoadCommand(Node& node, const test::Configuration& configuration) {
  const std::filesystem::path file = node.Element().Directory() / "load.json";
  std::ofstream(file) << test::DocumentOf(configuration);
  return {"load", "--replace", file.string()};
}

void TakeCommit(Node& node, const test::RandomConfiguration& after, bool was_heard) {
  node.random = after;
  node.may_be_found.reset();
  node.so_far.missed_commits += was_heard ? 0 : 1;
}

void LoseCommit(Node& node, const test::RandomConfiguration& after) {
  node.maybe = after;
  ++node.so_far.missed_commits;
}

// A commit builds upon what is there: whether the last one is has to be known.
void SettleCommit(Context& context, Node& node) {
  if (node.maybe || node.may_be_found) {
    AwaitRest(context.supervisor, node, context.report);
  }
}

}  // namespace

std::optional<std::vector<std::string>> EditCommand(const Edit& edit) {
  std::vector<std::string> words = {"edit"};
  for (const EditOperation& operation : edit.operations()) {
    if (operation.has_document()) {
      return std::nullopt;
    }
    static constexpr const char* kOperations[] = {"merge", "replace", "create", "delete", "remove"};
    words.emplace_back(kOperations[operation.operation()]);
    words.push_back(operation.path());
    if (!operation.value().empty()) {
      words.push_back(operation.value());
    }
  }
  return words;
}

const char* NameOf(Kind kind) {
  static constexpr const char* kNames[] = {"commit", "commit of the candidate", "read",
                                           "read of counters", "clear-statistics"};
  return kNames[static_cast<std::size_t>(kind)];
}

Hearing::Hearing(Supervisor& supervisor, Node& node)
    : is_subscribed_(IsSubscribed(supervisor, node)), agent_losses_(node.so_far.agent_losses) {}

bool Hearing::Holds(const Node& node) const {
  return is_subscribed_ && node.so_far.agent_losses == agent_losses_;
}

InFlight::InFlight(Context& context, Node& node, Kind kind)
    : context_(context), node_(node), kind_(kind), front_end_(node.Element().RuntimeDirectory()) {
  if (IsCommit()) {
    hearing_ = Hearing(context.supervisor, node);
    after_ = node.random;
    after_->Reseed(context.chance.Number());
    *request_.mutable_edit() = after_->NextCommit();
    if (kind == Kind::kCandidateCommit) {
      PrepareCandidate(request_.edit());
      request_.mutable_commit_candidate();
    }
  } else if (kind == Kind::kClear) {
    request_ = ClearAll();
  } else {
    // The daemon keeps counters for a moment; after a clearing it has to ask.
    if (kind == Kind::kReadCounters) {
      Prepare(ClearAll());
    }
    request_ = test::ReadOf("/status");
  }
}

bool InFlight::IsCommit() const {
  return kind_ == Kind::kCommit || kind_ == Kind::kCandidateCommit;
}

InFlight::~InFlight() {
  if (is_open_) {
    LoseReply();
  }
}

void InFlight::PrepareCandidate(Edit edit) {
  Request discard;
  discard.mutable_discard_candidate();
  Prepare(discard);
  // An edit that is thought better of must leave nothing behind.
  test::RandomConfiguration dropped = node_.random;
  dropped.Reseed(context_.chance.Number());
  Request drop;
  *drop.mutable_edit() = dropped.NextCommit();
  drop.mutable_edit()->set_target(Edit::CANDIDATE);
  Prepare(drop);
  Prepare(discard);
  edit.set_target(Edit::CANDIDATE);
  Request fill;
  *fill.mutable_edit() = std::move(edit);
  Prepare(fill);
  Request validate;
  validate.mutable_validate_candidate();
  Prepare(validate);
}

// Without it the operation is another one.
void InFlight::Prepare(const Request& request) {
  const Reply reply = Ask(context_.supervisor, front_end_, request);
  if (reply.errors_size() > 0) {
    throw std::runtime_error(fmt::format("{}: what comes before a {} was refused: {}", node_.Name(),
                                         NameOf(kind_), reply.errors(0).message()));
  }
}

void InFlight::Send() {
  is_open_ = true;
  if (IsCommit()) {
    open_commit_.emplace(node_);
  }
  try {
    front_end_.Send(request_);
  } catch (const std::system_error&) {
    // The agent has ended; HasReply and Finish see that.
  }
}

bool InFlight::HasReply() const {
  pollfd event{front_end_.Fd(), POLLIN, 0};
  return poll(&event, 1, 0) == 1;
}

std::string InFlight::Finish() {
  Reply reply;
  try {
    reply = Next(context_.supervisor, front_end_);
  } catch (const Failure&) {
    throw;
  } catch (const std::exception& error) {
    if (!context_.supervisor.Excuses(node_) &&
        !context_.supervisor.SeesDisturbance(node_, node_.at_rest.all)) {
      throw Failure(fmt::format("{}: {}: {}", node_.Name(), NameOf(kind_), error.what()),
                    node_.LogOf(Part::kAgent));
    }
    context_.report.Count(fmt::format("{}: no reply", NameOf(kind_)));
    return LoseReply();
  }
  is_open_ = false;
  std::string outcome = IsCommit() ? FinishCommit(reply) : FinishRead(reply);
  open_commit_.reset();
  return outcome;
}

std::string InFlight::LoseReply() {
  is_open_ = false;
  if (IsCommit()) {
    LoseCommit(node_, *after_);
  }
  open_commit_.reset();
  return "no reply";
}

std::string InFlight::FinishCommit(const Reply& reply) {
  if (reply.errors_size() > 0) {
    if (!node_.disk.may_refuse && !context_.supervisor.Excuses(node_)) {
      throw Failure(fmt::format("{}: a valid commit was refused: {}", node_.Name(),
                                reply.errors(0).message()),
                    node_.LogOf(Part::kAgent));
    }
    context_.report.Count(node_.disk.may_refuse ? kRefusedByDisk : kRefused);
    if (reply.errors(0).message().find(kMayBeFound) != std::string::npos) {
      node_.may_be_found = after_;
      context_.report.Count("commit refused that may be found later");
    }
    return "refused";
  }
  context_.supervisor.Excuses(node_);
  TakeCommit(node_, *after_, reply.warnings_size() == 0 && hearing_.Holds(node_));
  context_.report.Count(kDone);
  if (reply.warnings_size() > 0) {
    context_.report.Count("commit done, with a warning about who missed it");
    return kDoneWithWarning;
  }
  return "done";
}

std::string InFlight::FinishRead(const Reply& reply) {
  const bool complete = reply.errors_size() == 0 && reply.warnings_size() == 0;
  if (!complete && !context_.supervisor.Excuses(node_)) {
    throw Failure(
        fmt::format("{}: {}: {}", node_.Name(), NameOf(kind_),
                    reply.errors_size() > 0 ? reply.errors(0).message() : reply.warnings(0)),
        node_.LogOf(Part::kDaemon));
  }
  context_.report.Count(fmt::format("{}: {}", NameOf(kind_), complete ? "done" : "incomplete"));
  return complete ? "done" : "incomplete, and says so";
}

std::string Perform(Context& context, Node& node, Kind kind) {
  context.supervisor.AwaitReady(node, Part::kAgent);
  if (kind == Kind::kCommit || kind == Kind::kCandidateCommit) {
    SettleCommit(context, node);
  }
  InFlight operation(context, node, kind);
  operation.Send();
  std::string outcome = operation.Finish();
  context.Say(std::string(NameOf(kind)) + " " + outcome);
  return outcome;
}

int AwaitEnd(Context& context, test::Process& command, const std::string& name) {
  if (!context.supervisor.Await(
          {command.EndFd()}, [&] { return command.Status().has_value(); },
          Clock::now() + 2 * test::kPatience)) {
    throw Failure("cfmctl " + name + " does not end");
  }
  return *command.Status();
}

void CommitByCommand(Context& context, Node& node) {
  context.supervisor.AwaitReady(node, Part::kAgent);
  SettleCommit(context, node);
  test::RandomConfiguration after = node.random;
  after.Reseed(context.chance.Number());
  const Edit edit = after.NextCommit();
  const auto words = EditCommand(edit).value_or(LoadCommand(node, node.Full(after)));
  if (words.size() == 1) {
    return context.Say("nothing to commit by cfmctl");
  }
  const Hearing hearing(context.supervisor, node);
  const OpenCommit open_commit(node);
  const auto command = node.Element().StartCfmctl(words);
  const int status = AwaitEnd(context, *command, words.front());
  const bool excused = context.supervisor.Excuses(node);
  if (status == 0) {
    const bool warns = command->Log().find("cfmctl: warning: ") != std::string::npos;
    TakeCommit(node, after, !warns && hearing.Holds(node));
    context.report.Count("commit by cfmctl reported as done");
  } else if (!excused || (status != 1 && status != 3)) {
    throw Failure(fmt::format("{}: cfmctl {} of a valid commit ended with status {}: {}",
                              node.Name(), words.front(), status, command->Log()));
  } else if (status == 3) {
    LoseCommit(node, after);
  }
  context.Say(fmt::format("cfmctl {} status {}", words.front(), status));
}

void CheckThatMostSucceeded(const Report& report) {
  struct Share {
    const char* done;
    std::array<const char*, 3> excused;
    int least;  // percent of all
  };
  static constexpr std::array kShares = {
      Share{kDone, {kRefused, "commit: no reply", "commit of the candidate: no reply"}, 75},
      Share{"read: done", {"read: incomplete", "read: no reply"}, 75},
      Share{"read of counters: done",
            {"read of counters: incomplete", "read of counters: no reply"},
            75}};
  constexpr int kEnough = 40;  // to tell a share
  for (const Share& share : kShares) {
    const int done = report.Counted(share.done);
    int all = done;
    for (const char* excused : share.excused) {
      all += excused == nullptr ? 0 : report.Counted(excused);
    }
    if (all >= kEnough && done * 100 < share.least * all) {
      throw Failure(fmt::format("{} only {} times of {}", share.done, done, all));
    }
  }
}

}  // namespace survival
