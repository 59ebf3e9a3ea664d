#include "front_end.h"

#include "candidate.h"
#include "edit.h"
#include "frame.h"
#include "render.h"
#include "status_board.h"

namespace agentd {

using cfm::agent::Reply;
using cfm::agent::Request;

FrontEnd::~FrontEnd() {
  services_.status.Unwatch(this);
}

void FrontEnd::Handle(const Request& request) {
  if (committing_) {
    throw ipc::ProtocolError("a request before the reply to the commit");
  }
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
    default:
      throw ipc::ProtocolError("a request that a front end does not have");
  }
}

// A candidate that nobody has opened is what running is.
void FrontEnd::Get(const cfm::agent::Get& request) {
  Reply reply;
  const SnapshotPtr running = services_.datastore.Running();
  const bool from_candidate =
      request.datastore() == cfm::agent::DATASTORE_CANDIDATE && services_.candidate.IsOpen();
  const lyd_node* top = from_candidate ? services_.candidate.Top() : running->Top();
  if (request.datastore() == cfm::agent::DATASTORE_UNSPECIFIED) {
    AddProblems({{.message = "get: say which datastore, running or candidate"}}, reply);
  } else {
    AddProblems(Render(services_.model, top, request, reply), reply);
  }
  SendReply(peer_, std::move(reply));
}

void FrontEnd::Edit(const cfm::agent::Edit& request) {
  switch (request.target()) {
    case cfm::agent::Edit::COMMIT:
      return Commit([services = services_, request]() -> Result<Tree> {
        Tree tree = services.datastore.WorkingCopy();
        if (Problems problems = ApplyEdits(services.model, tree, request); !problems.empty()) {
          return problems;
        }
        return tree;
      });
    case cfm::agent::Edit::CANDIDATE: {
      const Problems problems = services_.candidate.Apply(request);
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
  Tree tree = services_.datastore.WorkingCopy();
  if (Problems problems = ApplyEdits(services_.model, tree, request); !problems.empty()) {
    return problems;
  }
  const auto prepared = services_.datastore.Prepare(std::move(tree));
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
        auto tree = services.candidate.BeginCommit();
        *begun = bool{tree};
        return tree;
      },
      [services = services_, begun](const CommitResult& result) {
        if (*begun) {
          services.candidate.EndCommit(result.problems.empty());
          services.status.Changed();
        }
      });
}

void FrontEnd::DiscardCandidate() {
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
  services_.status.Watch(this, [this](const cfm::agent::Status& status) {
    Reply reply;
    *reply.mutable_status() = status;
    SendReply(peer_, std::move(reply));
  });
}

void FrontEnd::Commit(std::function<Result<Tree>()> make,
                      std::function<void(const CommitResult&)> at_end) {
  committing_ = true;
  services_.commits.Add(
      {.origin = peer_.Describe(),
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
  SendReply(peer_, std::move(reply));
}

}  // namespace agentd
