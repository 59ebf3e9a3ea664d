// confd_fd_ready: takes a request of the agent and has the program work it.
#include <confd_dp.h>

#include <deque>
#include <vector>

#include "confd_client/daemon.h"
#include "confd_client/provider_answer.h"
#include "confd_client/request_keypath.h"
#include "confd_client/wire_value.h"
#include "frame.h"

namespace confd {
namespace {

using cfm::agent::ProviderReply;
using cfm::agent::ProviderRequest;
using Kind = OpenRead::Kind;

ProviderRequest Take(ProviderSocket& socket) {
  cfm::agent::FromAgent message;
  socket.link.Receive(message);
  if (!message.has_provider_request()) {
    throw ipc::ProtocolError("a message that is no request to a data provider");
  }
  const std::uint64_t id = message.provider_request().id();
  if (socket.last_request && id <= *socket.last_request) {
    throw ipc::ProtocolError("request " + std::to_string(id) + " after request " +
                             std::to_string(*socket.last_request));
  }
  socket.last_request = id;
  return std::move(*message.mutable_provider_request());
}

// A callback of the program; what a C++ one throws is its failure.
template <typename Callback>
int Call(Callback callback) noexcept {
  return Guarded(callback);
}

// The request asks for what is not there; the agent is told and that is all.
int Refuse(ProviderSocket& socket, std::uint64_t id, const std::string& text) {
  SendError(socket, id, text);
  return CONFD_OK;
}

// A callback failed; the agent is told and so is the program.
int Fail(ProviderSocket& socket, std::uint64_t id, const std::string& text) {
  SendError(socket, id, text);
  throw ApiError(CONFD_ERR_EXTERNAL, text);
}

// Transactions ----------------------------------------------------------------

int InitTransaction(Daemon& daemon, std::uint64_t id, std::uint32_t number) {
  if (!daemon.transaction_callbacks || daemon.open.contains(number)) {
    return Refuse(*daemon.control, id,
                  daemon.transaction_callbacks
                      ? "transaction " + std::to_string(number) + " is open already"
                      : "the program takes no transactions");
  }
  const auto transaction = daemon.Open(number);
  const int result = Call([&] { return daemon.transaction_callbacks->init(transaction.get()); });
  const bool has_worker = daemon.worker && transaction->fd == daemon.worker->fd;
  if (result != CONFD_OK || !has_worker) {
    daemon.Close(number);
    return Fail(*daemon.control, id,
                result != CONFD_OK ? "the init callback of transactions failed"
                                   : "the init callback of transactions named no worker socket");
  }
  Send(*daemon.control, Answer(id, ProviderReply::OK));
  return CONFD_OK;
}

int FinishTransaction(Daemon& daemon, std::uint64_t id, std::uint32_t number) {
  const auto found = daemon.open.find(number);
  if (found == daemon.open.end()) {
    return Refuse(*daemon.control, id, "no transaction " + std::to_string(number) + " is open");
  }
  const auto transaction = found->second;
  const auto finish = daemon.transaction_callbacks->finish;
  const int result = Call([&] { return finish == nullptr ? CONFD_OK : finish(transaction.get()); });
  daemon.Close(number);
  if (result != CONFD_OK) {
    return Fail(*daemon.control, id, "the finish callback of transactions failed");
  }
  Send(*daemon.control, Answer(id, ProviderReply::OK));
  return CONFD_OK;
}

int WorkControl(Daemon& daemon) {
  const ProviderRequest request = Take(*daemon.control);
  switch (request.request_case()) {
    case ProviderRequest::kTransInit:
      return InitTransaction(daemon, request.id(), request.trans_init().thandle());
    case ProviderRequest::kTransFinish:
      return FinishTransaction(daemon, request.id(), request.trans_finish().thandle());
    default:
      throw ipc::ProtocolError("a request on the control socket that is none of a transaction");
  }
}

// Reads -----------------------------------------------------------------------

std::string FailureText(const Transaction& transaction, const std::string& callpoint, int result) {
  const std::string what = "callpoint " + callpoint + ": ";
  if (result == CONFD_OK) {
    return what + "the callback did not answer";
  }
  return what + (transaction.error.empty() ? "the callback failed" : transaction.error);
}

// After the callback. It may have answered, and the agent may have given the
// read up meanwhile.
int EndCallback(Daemon& daemon, Transaction& transaction, std::uint64_t id, int result,
                const std::string& callpoint) {
  const bool is_unanswered = transaction.read && transaction.read->id == id;
  const bool is_awaited = is_unanswered && !transaction.read->given_up;
  if (result == CONFD_DELAYED_RESPONSE) {
    if (is_awaited) {
      Send(*daemon.worker, Answer(id, ProviderReply::DELAYED));
    }
    return CONFD_OK;
  }
  if (is_unanswered) {
    daemon.EndRead(transaction);
  }
  if (is_awaited) {
    return Fail(*daemon.worker, id, FailureText(transaction, callpoint, result));
  }
  if (result != CONFD_OK) {
    throw ApiError(CONFD_ERR_EXTERNAL, FailureText(transaction, callpoint, result));
  }
  return CONFD_OK;
}

// `Message`: GetElem or GetNext.
template <typename Message, typename Callback>
int WorkRead(Daemon& daemon, std::uint64_t id, const Message& message, Kind kind,
             Callback callback) {
  const auto callpoint = daemon.callpoints.find(message.callpoint());
  if (callpoint == daemon.callpoints.end()) {
    return Refuse(*daemon.worker, id, "the program has no callpoint " + message.callpoint());
  }
  KeypathBuilder keypath;
  AddElements(message.keypath(), keypath);
  const auto transaction = daemon.ForNextRead(message.thandle());
  if (transaction == nullptr) {
    return Refuse(*daemon.worker, id,
                  "no transaction " + std::to_string(message.thandle()) + " is open");
  }
  transaction->cb_opaque = callpoint->second.cb_opaque;
  transaction->error.clear();
  transaction->read = OpenRead{id, kind};
  const int result =
      Call([&] { return callback(callpoint->second, *transaction, keypath.Fill()); });
  return EndCallback(daemon, *transaction, id, result, message.callpoint());
}

int GetElem(const confd_data_cbs& callbacks, confd_trans_ctx& transaction,
            confd_hkeypath_t& keypath) {
  return callbacks.get_elem == nullptr ? CONFD_ERR : callbacks.get_elem(&transaction, &keypath);
}

int WorkGetElem(Daemon& daemon, const ProviderRequest& request) {
  return WorkRead(daemon, request.id(), request.get_elem(), Kind::kElem, GetElem);
}

int WorkGetNext(Daemon& daemon, const ProviderRequest& request) {
  const long next = request.get_next().next();
  return WorkRead(daemon, request.id(), request.get_next(), Kind::kNext,
                  [next](const confd_data_cbs& callbacks, confd_trans_ctx& transaction,
                         confd_hkeypath_t& keypath) {
                    return callbacks.get_next == nullptr
                               ? CONFD_ERR
                               : callbacks.get_next(&transaction, &keypath, next);
                  });
}

// Actions ---------------------------------------------------------------------

confd_user_info UserOf(Daemon& daemon, const cfm::agent::PerformAction& action, std::uint64_t id,
                       void* cb_opaque) {
  confd_user_info user{};
  user.af = AF_UNIX;  // front ends are on this machine
  user.usid = static_cast<int>(id);
  action.user().copy(user.username, sizeof(user.username) - 1);
  user.actionfd = -1;
  user.dx = &daemon;
  user.cb_opaque = cb_opaque;
  return user;
}

// Why the action did not come off, or nothing.
std::string Perform(Daemon& daemon, const confd_action_cbs& callbacks, confd_user_info& user,
                    const cfm::agent::PerformAction& action) {
  std::deque<BorrowedValue> values;
  std::vector<confd_tag_value_t> parameters;
  for (const auto& parameter : action.parameters()) {
    values.emplace_back(parameter.value());
    parameters.push_back({{parameter.tag(), parameter.ns()}, values.back().Get()});
  }
  if (Call([&] { return callbacks.init(&user); }) != CONFD_OK) {
    return "the init callback failed";
  }
  if (user.actionfd != daemon.worker->fd) {
    return "the init callback named no worker socket";
  }
  xml_tag name{action.name(), action.ns()};
  KeypathBuilder keypath;  // operations stand at the top of the model
  const int result = Call([&] {
    return callbacks.action(&user, &name, &keypath.Fill(), parameters.data(),
                            static_cast<int>(parameters.size()));
  });
  return result == CONFD_OK ? "" : "the callback failed";
}

int WorkAction(Daemon& daemon, const ProviderRequest& request) {
  const auto& action = request.action();
  const auto point = daemon.action_points.find(action.actionpoint());
  if (point == daemon.action_points.end()) {
    return Refuse(*daemon.worker, request.id(),
                  "the program has no action point " + action.actionpoint());
  }
  confd_user_info user = UserOf(daemon, action, request.id(), point->second.cb_opaque);
  const std::string failure = Perform(daemon, point->second, user, action);
  if (!failure.empty()) {
    return Fail(*daemon.worker, request.id(),
                "action point " + action.actionpoint() + ": " + failure);
  }
  Send(*daemon.worker, Answer(request.id(), ProviderReply::OK));
  return CONFD_OK;
}

int WorkWorker(Daemon& daemon) {
  const ProviderRequest request = Take(*daemon.worker);
  if (daemon.TakeWithdrawn(request.id())) {
    return CONFD_OK;
  }
  switch (request.request_case()) {
    case ProviderRequest::kGetElem:
      return WorkGetElem(daemon, request);
    case ProviderRequest::kGetNext:
      return WorkGetNext(daemon, request);
    case ProviderRequest::kAction:
      return WorkAction(daemon, request);
    default:
      throw ipc::ProtocolError("a request on the worker socket that is no read and no action");
  }
}

// Sockets ---------------------------------------------------------------------

int Work(ProviderSocket& socket, Daemon& daemon, int (*work)(Daemon&)) {
  if (!daemon.register_done) {
    throw ApiError(CONFD_ERR_BADSTATE, "nothing comes before confd_register_done");
  }
  try {
    return work(daemon);
  } catch (const ipc::ProtocolError& error) {
    socket.link.FailForGarbage(error.what());
  }
}

int FdReady(Daemon& daemon, int fd) {
  if (daemon.control && daemon.control->fd == fd) {
    return Work(*daemon.control, daemon, WorkControl);
  }
  if (daemon.worker && daemon.worker->fd == fd) {
    return Work(*daemon.worker, daemon, WorkWorker);
  }
  throw ApiError(CONFD_ERR_PROTOUSAGE,
                 "socket " + std::to_string(fd) + " is none of this daemon's");
}

}  // namespace
}  // namespace confd

extern "C" int confd_fd_ready(struct confd_daemon_ctx* dx, int fd) {
  return confd::OnDaemon(dx, [&](confd::Daemon& daemon) { return confd::FdReady(daemon, fd); });
}
