#include "data_session.h"

#include <confd_lib.h>

#include <confd_cdb.h>

#include "commit_queue.h"
#include "fail_point.h"
#include "fetch.h"
#include "frame.h"
#include "operational_fetch.h"
#include "providers.h"
#include "writable_leaves.h"
#include "writer_hold.h"

namespace agentd {

using cfm::agent::OperationalWrite;
using cfm::agent::Request;
using cfm::agent::StartSession;

DataSession::~DataSession() {
  services_.locks.Release(this);
  services_.writers.Release(this);
}

bool DataSession::IsCountedOn() const {
  return services_.locks.IsHeldBy(this) || services_.writers.IsHeldBy(this);
}

void DataSession::Handle(const Request& request) {
  if (state_ == State::kWaiting) {
    throw ipc::ProtocolError("a request while the one before it waits");
  }
  switch (request.request_case()) {
    case Request::kStartSession:
      return Start(request.start_session());
    case Request::kEndSession:
      return End();
    case Request::kFetch:
      return Fetch(request.fetch());
    case Request::kOperationalWrite:
      return Write(request.operational_write());
    case Request::kDeferredWrites:
      return WriteDeferred(request.deferred_writes());
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
  if (request.database() == CDB_OPERATIONAL) {
    return OpenOperational(request);
  }
  if (request.database() != CDB_RUNNING) {
    return Refuse(request, {.message = "start a session: the agent has the running and the "
                                       "operational datastore only",
                            .code = CONFD_ERR_BADSTATE});
  }
  const bool is_busy = request.flags() != 0 && services_.commits.IsChanging();
  if (is_busy && (request.flags() & CDB_LOCK_WAIT) == 0) {
    return Refuse(
        request, {.message = "start a session: a commit is in progress", .code = CONFD_ERR_LOCKED});
  }
  if (is_busy) {
    CFM_FAIL_POINT(agent_session_waiting);
    state_ = State::kWaiting;
    services_.locks.Wait(this, [this, request] { Open(request); });
    return;
  }
  Open(request);
}

void DataSession::Open(const StartSession& request) {
  CFM_FAIL_POINT(agent_session_opening);
  state_ = State::kOpen;
  snapshot_ = services_.datastore.Running();
  if ((request.flags() & CDB_LOCK_SESSION) != 0) {
    services_.locks.Take(this, peer_.Describe(), peer_.Pid());
  }
  CFM_FAIL_POINT(agent_session_opened);
  if (request.flags() != 0) {
    SendReply(peer_, {});
  }
}

// Locks are about commits, which operational data knows nothing of.
void DataSession::OpenOperational(const StartSession& request) {
  state_ = State::kOpen;
  CFM_FAIL_POINT(agent_operational_session_opened);
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
  CFM_FAIL_POINT(agent_session_ending);
  state_ = State::kClosed;
  snapshot_.reset();
  services_.locks.Release(this);
  services_.writers.Release(this);
}

Problems DataSession::CheckSession(const char* operation) const {
  if (state_ == State::kRefused) {
    return {refusal_};
  }
  if (state_ != State::kOpen) {
    return {
        {.message = std::string(operation) + ": there is no session", .code = CONFD_ERR_NOSESSION}};
  }
  return {};
}

void DataSession::Fetch(const cfm::agent::Fetch& request) {
  if (const Problems problems = CheckSession("read"); !problems.empty()) {
    return SendProblems(peer_, problems);
  }
  CFM_FAIL_POINT(agent_fetching);
  auto data = snapshot_ != nullptr
                  ? agentd::Fetch(services_.model, *snapshot_, request.path())
                  : FetchOperational(services_.model, services_.operational, request.path());
  if (!data) {
    return SendProblems(peer_, data.Why());
  }
  cfm::agent::Reply reply;
  *reply.mutable_data() = std::move(*data);
  SendReply(peer_, std::move(reply));
  CFM_FAIL_POINT(agent_fetched);
}

// Judged before it may wait: what is thrown when it goes on would end the loop,
// and not this connection.
void DataSession::Write(const OperationalWrite& request) {
  if (!OperationalWrite::Operation_IsValid(request.operation())) {
    throw ipc::ProtocolError("an unknown operation on operational data");
  }
  if (const Problems problems = CheckSession("write"); !problems.empty()) {
    return SendProblems(peer_, problems);
  }
  if (snapshot_ != nullptr) {
    return SendProblems(peer_, {{.message = "write: the session is on the running datastore, "
                                            "which only commits change",
                                 .code = CONFD_ERR_NOT_WRITABLE}});
  }
  if (request.operation() != OperationalWrite::SET && services_.writers.KeepsWaiting(this)) {
    state_ = State::kWaiting;
    CFM_FAIL_POINT(agent_writer_waiting);
    return services_.writers.Wait(this, [this, request] {
      CFM_FAIL_POINT(agent_writer_resumed);
      state_ = State::kOpen;
      Write(request);
    });
  }
  OperationalStore& store = services_.operational;
  switch (request.operation()) {
    case OperationalWrite::CREATE:
      return Answer(request, store.Create(request.path()));
    case OperationalWrite::SET:
      return Answer(request, store.Set(request.path(), request.value()));
    default:
      return Delete(request);
  }
}

void DataSession::Answer(const OperationalWrite& request, const Problems& problems) {
  cfm::agent::Reply reply;
  AddProblems(problems, reply);
  if (problems.empty() && request.tell_leaves()) {
    const lysc_node* node = ResolvePath(services_.model, request.path())->back().schema;
    const lysc_node& list = node->nodetype == LYS_LIST ? *node : *node->parent;
    for (auto& leaf : WritableLeavesOf(list, services_.provider_model)) {
      *reply.add_leaves() = std::move(leaf);
    }
  }
  SendReply(peer_, std::move(reply));
  CFM_FAIL_POINT(agent_write_answered);
}

// A program defers what is sure to succeed; only a SET whose entry went away
// comes to nothing.
void DataSession::WriteDeferred(const cfm::agent::DeferredWrites& request) {
  if (state_ != State::kOpen || snapshot_ != nullptr) {
    throw ipc::ProtocolError("deferred writes without a session on the operational datastore");
  }
  CFM_FAIL_POINT(agent_deferred_received);
  cfm::agent::Reply reply;
  for (const OperationalWrite& write : request.writes()) {
    WriteOne(write, reply);
    CFM_FAIL_POINT(agent_deferred_written);
  }
  if (request.wants_reply()) {
    SendReply(peer_, std::move(reply));
    CFM_FAIL_POINT(agent_deferred_answered);
  }
}

void DataSession::WriteOne(const OperationalWrite& write, cfm::agent::Reply& reply) {
  Problems problems;
  if (write.operation() == OperationalWrite::SET) {
    problems = services_.operational.Set(write.path(), write.value());
    if (!problems.empty() && problems.front().code == CONFD_ERR_NOEXISTS) {
      return;
    }
  } else if (write.operation() == OperationalWrite::DELETE &&
             !services_.writers.KeepsWaiting(this)) {
    if (const auto gone = Delete(write.path(), reply); !gone) {
      problems = gone.Why();
    }
  } else {
    throw ipc::ProtocolError("a deferred write that needs an answer");
  }
  if (!problems.empty()) {
    throw ipc::ProtocolError("a deferred write that fails: " + problems.front().message);
  }
}

Result<std::vector<EntryPtr>> DataSession::Delete(const cfm::agent::Path& path,
                                                  cfm::agent::Reply& reply) {
  auto gone = services_.operational.Delete(path);
  if (gone) {
    for (const std::uint64_t id : services_.providers.EntriesGone(*gone)) {
      reply.add_withdrawn(id);
    }
    CFM_FAIL_POINT(agent_withdrawn);
  }
  return gone;
}

void DataSession::Delete(const OperationalWrite& request) {
  cfm::agent::Reply reply;
  const auto gone = Delete(request.path(), reply);
  if (!gone) {
    AddProblems(gone.Why(), reply);
  } else if (request.hold()) {
    services_.writers.Take(this, peer_.Describe(), peer_.Pid());
    CFM_FAIL_POINT(agent_writers_held);
    reply.set_held(true);
    reply.set_entries_left(
        static_cast<std::uint32_t>(services_.operational.EntriesBeside(*gone->front())));
  }
  SendReply(peer_, std::move(reply));
  CFM_FAIL_POINT(agent_delete_answered);
}

void DataSession::SendTxid() {
  cfm::agent::Reply reply;
  reply.set_txid(services_.datastore.Running()->Txid());
  SendReply(peer_, std::move(reply));
  CFM_FAIL_POINT(agent_txid_told);
}

}  // namespace agentd
