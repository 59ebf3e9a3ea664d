#include "front_end.h"

#include "candidate.h"
#include "edit.h"
#include "ending.h"
#include "fail_point.h"
#include "frame.h"
#include "invocation.h"
#include "log.h"
#include "operational_read.h"
#include "operational_watch.h"
#include "render.h"
#include "status_board.h"

namespace agentd {

using cfm::agent::Reply;
using cfm::agent::Request;

namespace {

// Requests that leave everything as it is.
bool Looks(const Request& request) {
  switch (request.request_case()) {
    case Request::kGet:
    case Request::kValidateCandidate:
    case Request::kDiffCandidate:
    case Request::kGetStatus:
    case Request::kWatchStatus:
    case Request::kWatchOperational:
      return true;
    case Request::kEdit:
      return request.edit().target() == cfm::agent::Edit::TEST_ONLY;
    default:
      return false;
  }
}

// All entries of a full element take a third of this.
constexpr std::size_t kMaxWatchBacklog = 16U << 20;

Reply ReplyOf(const OperationalWatch::Changes& changes) {
  Reply reply;
  for (const auto& change : changes) {
    *reply.add_operational() = change;
  }
  return reply;
}

}  // namespace

FrontEnd::~FrontEnd() {
  services_.status.Unwatch(this);
  services_.watch.Unwatch(this);
  if (committing_) {
    services_.commits.Abandon(this);
  }
}

void FrontEnd::Handle(const Request& request) {
  if (committing_ || task_ != nullptr) {
    throw ipc::ProtocolError("a request before the reply to the one before it");
  }
  if (services_.ending.HasBegun()) {
    return SendProblems(peer_, {{.message = kIsEnding}});
  }
  if (!peer_.MayChange() && !Looks(request)) {
    return SendProblems(peer_, {{.message = OnlyLooks(peer_, "change anything")}});
  }
  CFM_FAIL_POINT(agent_request_received);
  switch (request.request_case()) {
    case Request::kGet:
      return Get(request.get());
    case Request::kEdit:
      return Edit(request.edit());
    case Request::kValidateCandidate:
      return ValidateCandidate();
    case Request::kCommitCandidate:
      return CommitCandidate();
    case Request::kDiscardCandidate:
      return DiscardCandidate();
    case Request::kDiffCandidate:
      return DiffCandidate();
    case Request::kGetStatus:
      return SendStatus();
    case Request::kWatchStatus:
      return WatchStatus();
    case Request::kInvoke:
      return Invoke(request.invoke());
    case Request::kWatchOperational:
      return WatchOperational(request.watch_operational());
    default:
      throw ipc::ProtocolError("a request that a front end does not have");
  }
}

// Of a read or an operation; the queue answers commits.
void FrontEnd::GiveUp() {
  if (task_ != nullptr) {
    Reply reply;
    AddProblems({{.message = kIsEnding}}, reply);
    FinishTask(std::move(reply));
  }
}

// A candidate that nobody has opened is what running is.
void FrontEnd::Get(const cfm::agent::Get& request) {
  if (request.datastore() == cfm::agent::DATASTORE_OPERATIONAL) {
    return GetOperational(request);
  }
  Reply reply;
  const SnapshotPtr running = services_.datastore.Running();
  const bool from_candidate =
      request.datastore() == cfm::agent::DATASTORE_CANDIDATE && services_.candidate.IsOpen();
  const Tree candidate = from_candidate ? services_.candidate.Complete() : Tree();
  const lyd_node* top = from_candidate ? candidate.get() : running->Top();
  if (!request.leaves().empty() || !request.filters().empty()) {
    AddProblems({{.message = "get: leaves and filters are for the operational datastore"}}, reply);
  } else if (request.datastore() == cfm::agent::DATASTORE_UNSPECIFIED) {
    AddProblems({{.message = "get: say which datastore: running, candidate or operational"}},
                reply);
  } else {
    AddProblems(Render(services_.model, top, request, reply), reply);
  }
  SendReply(peer_, std::move(reply));
}

void FrontEnd::GetOperational(const cfm::agent::Get& request) {
  CFM_FAIL_POINT(agent_read_received);
  auto read = std::make_unique<OperationalRead>(
      services_, request, [this](Reply reply) { FinishTask(std::move(reply)); });
  OperationalRead& started = *read;
  task_ = std::move(read);
  started.Start();
}

void FrontEnd::Invoke(const cfm::agent::Invoke& request) {
  CFM_FAIL_POINT(agent_action_received);
  auto invocation = std::make_unique<Invocation>(
      services_, request, peer_.User(), [this](Reply reply) { FinishTask(std::move(reply)); });
  Invocation& started = *invocation;
  task_ = std::move(invocation);
  started.Start();
}

// Called from wherever the last answer came, so what is wrong with the reply
// must not fall on that connection.
void FrontEnd::FinishTask(Reply reply) {
  task_.reset();
  CFM_FAIL_POINT(agent_task_answering);
  try {
    SendReply(peer_, std::move(reply));
    CFM_FAIL_POINT(agent_task_answered);
  } catch (const ipc::ProtocolError& error) {
    SendProblems(peer_, {{.message = std::string("the reply is too long (") + error.what() +
                                     "): ask for a part of it"}});
  }
}

void FrontEnd::WatchOperational(const cfm::agent::WatchOperational& request) {
  auto path = ParseWatchPath(services_.model, request.path());
  if (!path) {
    return SendProblems(peer_, path.Why());
  }
  if (peer_.QueuedBytes() > kMaxWatchBacklog) {
    throw ipc::ProtocolError("a watcher that does not read");
  }
  services_.watch.Unwatch(this);
  SendReply(peer_, ReplyOf(services_.watch.Watch(this, std::move(*path),
                                                 [this](const OperationalWatch::Changes& changes) {
                                                   TellChanges(changes);
                                                 })));
}

void FrontEnd::TellChanges(const OperationalWatch::Changes& changes) {
  if (peer_.QueuedBytes() > kMaxWatchBacklog) {
    return EndWatch();
  }
  CFM_FAIL_POINT(agent_changes_telling);
  try {
    SendReply(peer_, ReplyOf(changes));
  } catch (const ipc::ProtocolError& error) {
    peer_.Drop(std::string("the changes fit no message: ") + error.what());
  }
}

// It learns of it when it comes to the end of what is queued.
void FrontEnd::EndWatch() {
  const std::string backlog = std::to_string(peer_.QueuedBytes()) + " bytes are waiting";
  AGENT_LOG_WARNING("the watch of %s ends: it does not keep up: %s", peer_.Describe().c_str(),
                    backlog.c_str());
  services_.watch.Unwatch(this);
  services_.status.Unwatch(this);
  SendProblems(peer_, {{.message = "the watch did not keep up with the changes: " + backlog}});
}

void FrontEnd::Edit(const cfm::agent::Edit& request) {
  switch (request.target()) {
    case cfm::agent::Edit::COMMIT:
      return Commit([services = services_, request]() -> Result<Draft> {
        Draft draft = services.datastore.NewDraft();
        if (Problems problems = ApplyEdits(services.model, draft, request); !problems.empty()) {
          return problems;
        }
        return draft;
      });
    case cfm::agent::Edit::CANDIDATE: {
      CFM_FAIL_POINT(agent_candidate_editing);
      const Problems problems = services_.candidate.Apply(request);
      CFM_FAIL_POINT(agent_candidate_edited);
      services_.status.Changed();
      return SendProblems(peer_, problems);
    }
    case cfm::agent::Edit::TEST_ONLY:
      return SendProblems(peer_, TestOnly(request));
    default:
      return SendProblems(peer_, {{.message = "edit: unknown target"}});
  }
}

Problems FrontEnd::TestOnly(const cfm::agent::Edit& request) const {
  Draft draft = services_.datastore.NewDraft();
  if (Problems problems = ApplyEdits(services_.model, draft, request); !problems.empty()) {
    return problems;
  }
  const auto prepared = services_.datastore.Prepare(std::move(draft));
  return prepared ? Problems{} : prepared.Why();
}

void FrontEnd::ValidateCandidate() {
  SendProblems(peer_, services_.candidate.Validate());
}

void FrontEnd::CommitCandidate() {
  // The candidate may be opened, edited and dropped while this commit waits
  // for its turn; from then on it stands still.
  auto begun = std::make_shared<bool>(false);
  Commit(
      [services = services_, begun] {
        auto draft = services.candidate.BeginCommit();
        *begun = bool{draft};
        CFM_FAIL_POINT(agent_candidate_committing);
        return draft;
      },
      [services = services_, begun](const CommitResult& result) {
        if (*begun) {
          services.candidate.EndCommit(result.problems.empty());
          CFM_FAIL_POINT(agent_candidate_committed);
          services.status.Changed();
        }
      });
}

void FrontEnd::DiscardCandidate() {
  CFM_FAIL_POINT(agent_candidate_discarding);
  const Problems problems = services_.candidate.Discard();
  services_.status.Changed();
  SendProblems(peer_, problems);
}

void FrontEnd::DiffCandidate() {
  Reply reply;
  for (auto& line : services_.candidate.Lines()) {
    *reply.add_diff() = std::move(line);
  }
  SendReply(peer_, std::move(reply));
}

void FrontEnd::SendStatus() {
  Reply reply;
  *reply.mutable_status() = services_.status.Read();
  SendReply(peer_, std::move(reply));
}

void FrontEnd::WatchStatus() {
  if (peer_.QueuedBytes() > kMaxWatchBacklog) {
    throw ipc::ProtocolError("a watcher that does not read");
  }
  services_.status.Watch(this, [this](const cfm::agent::Status& status) { TellStatus(status); });
}

void FrontEnd::TellStatus(const cfm::agent::Status& status) {
  if (peer_.QueuedBytes() > kMaxWatchBacklog) {
    return EndWatch();
  }
  Reply reply;
  *reply.mutable_status() = status;
  SendReply(peer_, std::move(reply));
}

void FrontEnd::Commit(std::function<Result<Draft>()> make,
                      std::function<void(const CommitResult&)> at_end) {
  CFM_FAIL_POINT(agent_commit_received);
  committing_ = true;
  services_.commits.Add(
      {.owner = this,
       .origin = peer_.Describe(),
       .make = std::move(make),
       .done = [self = weak_from_this(), at_end = std::move(at_end)](const CommitResult& result) {
         if (at_end) {
           at_end(result);
         }
         if (const auto alive = self.lock()) {
           static_cast<FrontEnd&>(*alive).Answer(result);
         }
       }});
}

void FrontEnd::Answer(const CommitResult& result) {
  committing_ = false;
  Reply reply;
  AddProblems(result.problems, reply);
  for (const std::string& warning : result.warnings) {
    reply.add_warnings(warning);
  }
  reply.set_txid(result.txid);
  reply.set_nothing_changed(result.nothing_changed);
  CFM_FAIL_POINT(agent_commit_replying);
  SendReply(peer_, std::move(reply));
  CFM_FAIL_POINT(agent_commit_replied);
}

}  // namespace agentd
