// How each kind of request is worked: the program's callback is run and the
// agent gets its answer. Each returns what confd_fd_ready returns, and throws
// ApiError, CONFD_ERR_EXTERNAL, when a callback failed, and
// ipc::ProtocolError for a request that makes no sense.
#ifndef CONFD_CLIENT_PROVIDER_WORK_H
#define CONFD_CLIENT_PROVIDER_WORK_H

#include <agent.pb.h>

#include <cstdint>
#include <string>

#include "confd_client/daemon.h"

namespace confd {

int InitTransaction(Daemon& daemon, std::uint64_t id, std::uint32_t number);
int FinishTransaction(Daemon& daemon, std::uint64_t id, std::uint32_t number);
int WorkGetElem(Daemon& daemon, const cfm::agent::ProviderRequest& request);
int WorkGetNext(Daemon& daemon, const cfm::agent::ProviderRequest& request);
int WorkAction(Daemon& daemon, const cfm::agent::ProviderRequest& request);

// The request asks for what is not there; the agent is told and that is all.
int Refuse(ProviderSocket& socket, std::uint64_t id, const std::string& text);
// A callback failed; the agent is told and so is the program.
[[noreturn]] void Fail(ProviderSocket& socket, std::uint64_t id, const std::string& text);

// A callback of the program; what a C++ one throws is its failure.
template <typename Callback>
int Call(Callback callback) noexcept {
  return Guarded(callback);
}

}  // namespace confd

#endif
