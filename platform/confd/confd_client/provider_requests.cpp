// confd_fd_ready: takes a request of the agent and has it worked.
#include <confd_dp.h>

#include <google/protobuf/arena.h>

#include <memory>

#include "confd_client/provider_answer.h"
#include "confd_client/provider_work.h"
#include "fail_point.h"
#include "frame.h"

namespace confd {
namespace {

using cfm::agent::ProviderRequest;

using Message = std::shared_ptr<const cfm::agent::FromAgent>;

// A batch has hundreds of parts, which take few large pieces of memory.
Message Receive(ProviderSocket& socket) {
  const auto arena = std::make_shared<google::protobuf::Arena>();
  auto* message = google::protobuf::Arena::CreateMessage<cfm::agent::FromAgent>(arena.get());
  socket.link.Receive(*message);
  return {arena, message};
}

const ProviderRequest& RequestIn(const cfm::agent::FromAgent& message, ProviderSocket& socket) {
  if (!message.has_provider_request()) {
    throw ipc::ProtocolError("a message that is no request to a data provider");
  }
  const std::uint64_t id = message.provider_request().id();
  if (socket.last_request && id <= *socket.last_request) {
    throw ipc::ProtocolError("request " + std::to_string(id) + " after request " +
                             std::to_string(*socket.last_request));
  }
  socket.last_request = id;
  CFM_FAIL_POINT(confd_request_received);
  return message.provider_request();
}

int WorkControl(Daemon& daemon) {
  const Message message = Receive(*daemon.control);
  const ProviderRequest& request = RequestIn(*message, *daemon.control);
  switch (request.request_case()) {
    case ProviderRequest::kTransInit:
      return InitTransaction(daemon, request.id(), request.trans_init().thandle());
    case ProviderRequest::kTransFinish:
      return FinishTransaction(daemon, request.id(), request.trans_finish().thandle());
    case ProviderRequest::kPing:
      Send(*daemon.control, Answer(request.id(), cfm::agent::ProviderReply::OK));
      return CONFD_OK;
    default:
      throw ipc::ProtocolError("a request on the control socket that is none of a transaction");
  }
}

int WorkWorker(Daemon& daemon) {
  if (daemon.worker->collected) {
    throw ApiError(CONFD_ERR_BADSTATE,
                   "confd_fd_ready on the worker socket inside a callback of the same daemon");
  }
  const Message message = Receive(*daemon.worker);
  if (message->has_read_batch()) {
    return WorkBatch(daemon, {message, &message->read_batch()});
  }
  const ProviderRequest& request = RequestIn(*message, *daemon.worker);
  if (!request.has_action()) {
    throw ipc::ProtocolError("a request on the worker socket that is no batch and no action");
  }
  return daemon.IsWithdrawn(request.id()) ? CONFD_OK : WorkAction(daemon, request);
}

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

int Refuse(ProviderSocket& socket, std::uint64_t id, const std::string& text) {
  SendError(socket, id, text);
  return CONFD_OK;
}

void Fail(ProviderSocket& socket, std::uint64_t id, const std::string& text) {
  SendError(socket, id, text);
  throw ApiError(CONFD_ERR_EXTERNAL, text);
}

}  // namespace confd

extern "C" int confd_fd_ready(struct confd_daemon_ctx* dx, int fd) {
  return confd::OnDaemon(dx, [&](confd::Daemon& daemon) { return confd::FdReady(daemon, fd); });
}
