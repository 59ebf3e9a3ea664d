// How each kind of request is worked: the program's callback is run and the
// agent gets its answer. Each throws ApiError, CONFD_ERR_EXTERNAL, when a
// callback failed, and ipc::ProtocolError for a request that makes no sense.
#ifndef CONFD_CLIENT_PROVIDER_WORK_H
#define CONFD_CLIENT_PROVIDER_WORK_H

#include <agent.pb.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>

#include "confd_client/daemon.h"

namespace confd {

// These return what confd_fd_ready returns.
int InitTransaction(Daemon& daemon, std::uint64_t id, std::uint32_t number);
int FinishTransaction(Daemon& daemon, std::uint64_t id, std::uint32_t number);
int WorkAction(Daemon& daemon, const cfm::agent::ProviderRequest& request);
int WorkBatch(Daemon& daemon, const std::shared_ptr<const cfm::agent::ReadBatch>& batch);

// How long a batch may keep the program's loop: what is left of it then has to
// come again, and the program sees to its other sockets before.
class TimeLimit {
 public:
  explicit TimeLimit(const Daemon& daemon) : now_(daemon.now), end_(daemon.now() + kLongest) {}
  bool IsReached() const { return now_() >= end_; }

 private:
  static constexpr std::chrono::milliseconds kLongest{5};

  std::chrono::steady_clock::duration (*now_)();
  std::chrono::steady_clock::duration end_;
};

// Whether reads behind this one may be begun.
enum class Progress { kGoesOn, kEnds };

// A read of a batch.
Progress WorkGetElem(Daemon& daemon, const cfm::agent::ProviderRequest& request,
                     confd_hkeypath_t& keypath);
// Walks until the end, the limit, or a step that is delayed.
Progress WorkGetNext(Daemon& daemon, const cfm::agent::ProviderRequest& request,
                     confd_hkeypath_t& keypath, const TimeLimit& limit);

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
