#include "operations.h"

#include <fmt/format.h>
#include <poll.h>

#include <algorithm>
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

// `cfmctl edit`, when the edit has no documents.
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

std::vector<std::string> LoadCommand(Node& node, const test::Configuration& configuration) {
  const std::filesystem::path file = node.Element().Directory() / "load.json";
  std::ofstream(file) << test::DocumentOf(configuration);
  return {"load", "--replace", file.string()};
}

void TakeCommit(Node& node, const test::RandomConfiguration& after) {
  node.random = after;
  node.committed = true;
}

// A commit builds upon what is there: whether the last one is has to be known.
void SettleCommit(Context& context, Node& node) {
  if (node.maybe) {
    AwaitRest(context.supervisor, node, context.report);
  }
}

}  // namespace

const char* NameOf(Kind kind) {
  static constexpr const char* kNames[] = {"commit", "commit of the candidate", "read",
                                           "read of counters", "clear-statistics"};
  return kNames[static_cast<std::size_t>(kind)];
}

InFlight::InFlight(Context& context, Node& node, Kind kind)
    : context_(context), node_(node), kind_(kind), front_end_(node.Element().RuntimeDirectory()) {
  if (IsCommit()) {
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
      Prepare(ClearAll(), true);
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
  Prepare(discard, false);
  // An edit that is thought better of must leave nothing behind.
  test::RandomConfiguration dropped = node_.random;
  dropped.Reseed(context_.chance.Number());
  Request drop;
  *drop.mutable_edit() = dropped.NextCommit();
  drop.mutable_edit()->set_target(Edit::CANDIDATE);
  Prepare(drop, false);
  Prepare(discard, false);
  edit.set_target(Edit::CANDIDATE);
  Request fill;
  *fill.mutable_edit() = std::move(edit);
  Prepare(fill, false);
  Request validate;
  validate.mutable_validate_candidate();
  Prepare(validate, false);
}

void InFlight::Prepare(const Request& request, bool may_be_refused) {
  const Reply reply = Ask(context_.supervisor, front_end_, request);
  if (reply.errors_size() > 0 && !may_be_refused && !kHasFailPoints) {
    throw Failure(
        fmt::format("{}: {} refused: {}", node_.Name(), NameOf(kind_), reply.errors(0).message()));
  }
}

void InFlight::Send() {
  is_open_ = true;
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

std::string InFlight::Finish(bool disturbed) {
  disturbed = disturbed || kHasFailPoints;
  Reply reply;
  try {
    reply = Next(context_.supervisor, front_end_);
  } catch (const Failure&) {
    throw;
  } catch (const std::exception& error) {
    if (!disturbed) {
      throw Failure(fmt::format("{}: {}: {}", node_.Name(), NameOf(kind_), error.what()));
    }
    return LoseReply();
  }
  is_open_ = false;
  return IsCommit() ? FinishCommit(reply, disturbed) : FinishRead(reply, disturbed);
}

std::string InFlight::LoseReply() {
  is_open_ = false;
  if (IsCommit()) {
    node_.maybe = after_;
    node_.committed = true;
  }
  return "no reply";
}

std::string InFlight::FinishCommit(const Reply& reply, bool disturbed) {
  if (reply.errors_size() > 0) {
    if (!disturbed) {
      throw Failure(fmt::format("{}: a valid commit was refused: {}", node_.Name(),
                                reply.errors(0).message()));
    }
    context_.report.Count("commit refused in a fault");
    return "refused";
  }
  TakeCommit(node_, *after_);
  context_.report.Count("commit reported as done");
  if (reply.warnings_size() > 0) {
    context_.report.Count("commit done, with a warning about who missed it");
    return kDoneWithWarning;
  }
  return "done";
}

std::string InFlight::FinishRead(const Reply& reply, bool disturbed) {
  const bool complete = reply.errors_size() == 0 && reply.warnings_size() == 0;
  if (!complete && !disturbed) {
    throw Failure(
        fmt::format("{}: {}: {}", node_.Name(), NameOf(kind_),
                    reply.errors_size() > 0 ? reply.errors(0).message() : reply.warnings(0)));
  }
  return complete ? "done" : "incomplete, and says so";
}

std::string Perform(Context& context, Node& node, Kind kind, bool disturbed) {
  context.supervisor.AwaitReady(node, Part::kAgent);
  if (kind == Kind::kCommit || kind == Kind::kCandidateCommit) {
    SettleCommit(context, node);
  }
  InFlight operation(context, node, kind);
  operation.Send();
  std::string outcome = operation.Finish(disturbed);
  context.Say(std::string(NameOf(kind)) + " " + outcome);
  return outcome;
}

void CommitByCommand(Context& context, Node& node, bool disturbed) {
  context.supervisor.AwaitReady(node, Part::kAgent);
  SettleCommit(context, node);
  test::RandomConfiguration after = node.random;
  after.Reseed(context.chance.Number());
  const Edit edit = after.NextCommit();
  const auto words = EditCommand(edit).value_or(LoadCommand(node, node.Full(after)));
  if (words.size() == 1) {
    return context.Say("nothing to commit by cfmctl");
  }
  const auto command = node.Element().StartCfmctl(words);
  if (!context.supervisor.Await(
          {command->EndFd()}, [&] { return command->Status().has_value(); },
          Clock::now() + 2 * test::kPatience)) {
    throw Failure("cfmctl " + words.front() + " does not end");
  }
  const int status = *command->Status();
  if (status == 0) {
    TakeCommit(node, after);
    context.report.Count("commit by cfmctl reported as done");
  } else if (!(disturbed || kHasFailPoints) || (status != 1 && status != 3)) {
    throw Failure(fmt::format("{}: cfmctl {} of a valid commit ended with status {}: {}",
                              node.Name(), words.front(), status, command->Log()));
  } else if (status == 3) {
    node.maybe = after;
    node.committed = true;
  }
  context.Say(fmt::format("cfmctl {} status {}", words.front(), status));
}

}  // namespace survival
