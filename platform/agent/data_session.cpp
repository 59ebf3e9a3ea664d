#include "data_session.h"

#include <confd_lib.h>

#include <confd_cdb.h>

#include "commit_queue.h"
#include "fetch.h"
#include "frame.h"

namespace agentd {

using cfm::agent::Request;
using cfm::agent::StartSession;

DataSession::~DataSession() {
  services_.locks.Release(this);
}

void DataSession::Handle(const Request& request) {
  if (state_ == State::kWaitingForLock) {
    throw ipc::ProtocolError("a request while the session waits for its lock");
  }
  switch (request.request_case()) {
    case Request::kStartSession:
      return Start(request.start_session());
    case Request::kEndSession:
      return End();
    case Request::kFetch:
      return Fetch(request.fetch());
    case Request::kGetTxid:
      return SendTxid();
    default:
      throw ipc::ProtocolError("a request that a data connection does not have");
  }
}

void DataSession::Start(const StartSession& request) {
  if (state_ != State::kClosed) {
    throw ipc::ProtocolError("StartSession within a session");
  }
  // The operational datastore gets its own kind of session here.
  if (request.database() != CDB_RUNNING) {
    return Refuse(request, {.message = "start a session: the agent has the running datastore only",
                            .code = CONFD_ERR_BADSTATE});
  }
  const bool is_busy = request.flags() != 0 && services_.commits.IsChanging();
  if (is_busy && (request.flags() & CDB_LOCK_WAIT) == 0) {
    return Refuse(
        request, {.message = "start a session: a commit is in progress", .code = CONFD_ERR_LOCKED});
  }
  if (is_busy) {
    state_ = State::kWaitingForLock;
    services_.locks.Wait(this, [this, request] { Open(request); });
    return;
  }
  Open(request);
}

void DataSession::Open(const StartSession& request) {
  state_ = State::kOpen;
  snapshot_ = services_.datastore.Running();
  if ((request.flags() & CDB_LOCK_SESSION) != 0) {
    services_.locks.Take(this, peer_.Describe());
  }
  if (request.flags() != 0) {
    SendReply(peer_, {});
  }
}

// A start without flags has no reply: its first read tells.
void DataSession::Refuse(const StartSession& request, Problem problem) {
  if (request.flags() != 0) {
    SendProblems(peer_, {problem});
    return;
  }
  refusal_ = std::move(problem);
  state_ = State::kRefused;
}

void DataSession::End() {
  if (state_ == State::kClosed) {
    throw ipc::ProtocolError("EndSession without a session");
  }
  state_ = State::kClosed;
  snapshot_.reset();
  services_.locks.Release(this);
}

void DataSession::Fetch(const cfm::agent::Fetch& request) {
  if (state_ == State::kRefused) {
    return SendProblems(peer_, {refusal_});
  }
  if (state_ != State::kOpen) {
    return SendProblems(peer_,
                        {{.message = "read: there is no session", .code = CONFD_ERR_NOSESSION}});
  }
  auto data = agentd::Fetch(services_.model, *snapshot_, request.path());
  if (!data) {
    return SendProblems(peer_, data.Why());
  }
  cfm::agent::Reply reply;
  *reply.mutable_data() = std::move(*data);
  SendReply(peer_, std::move(reply));
}

void DataSession::SendTxid() {
  cfm::agent::Reply reply;
  reply.set_txid(services_.datastore.Running()->Txid());
  SendReply(peer_, std::move(reply));
}

}  // namespace agentd
