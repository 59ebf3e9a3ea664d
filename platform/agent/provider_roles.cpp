#include "provider_roles.h"

#include "fail_point.h"
#include "frame.h"

namespace agentd {

using cfm::agent::Request;

ProviderControl::ProviderControl(const Services& services, Peer& peer)
    : services_(services), peer_(peer), number_(services.providers.Connect(peer)) {}

ProviderControl::~ProviderControl() {
  services_.providers.Disconnected(number_, peer_);
}

void ProviderControl::Handle(const Request& request) {
  switch (request.request_case()) {
    case Request::kRegisterProvider:
      return Register(request.register_provider());
    case Request::kProviderReply:
      return services_.providers.OnReply(number_, request.provider_reply());
    default:
      throw ipc::ProtocolError("a request that a control connection does not have");
  }
}

void ProviderControl::Register(const cfm::agent::RegisterProvider& request) {
  if (registered_) {
    throw ipc::ProtocolError("RegisterProvider twice");
  }
  const Problems problems = services_.providers.Register(number_, request);
  registered_ = problems.empty();
  SendProblems(peer_, problems);
}

ProviderWorker::~ProviderWorker() {
  services_.providers.Disconnected(number_, peer_);
}

void ProviderWorker::Handle(const Request& request) {
  switch (request.request_case()) {
    case Request::kProviderReplies:
      CFM_FAIL_POINT(agent_batch_answer_received);
      for (const auto& reply : request.provider_replies().replies()) {
        services_.providers.OnReply(number_, reply);
        CFM_FAIL_POINT(agent_batch_answer_taken);
      }
      return;
    case Request::kProviderReply:
      return services_.providers.OnReply(number_, request.provider_reply());
    default:
      throw ipc::ProtocolError("a request that a worker connection does not have");
  }
}

}  // namespace agentd
