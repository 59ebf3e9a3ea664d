// Reads that came in one message, and the replies, which go in one.
#include <optional>
#include <utility>

#include "confd_client/given_configuration.h"
#include "confd_client/provider_answer.h"
#include "confd_client/provider_work.h"
#include "confd_client/request_keypath.h"
#include "fail_point.h"
#include "frame.h"

namespace confd {
namespace {

using cfm::agent::ProviderReply;
using cfm::agent::ProviderRequest;
using cfm::agent::ReadBatch;

// Ids rise, also from one message to the next.
void CheckIds(const ProviderSocket& socket, const ReadBatch& batch) {
  std::optional<std::uint64_t> last = socket.last_request;
  for (const ProviderRequest& request : batch.requests()) {
    if (last && request.id() <= *last) {
      throw ipc::ProtocolError("request " + std::to_string(request.id()) + " after request " +
                               std::to_string(*last));
    }
    last = request.id();
  }
}

// While it lives, replies on the socket wait for the last of them.
class Collection {
 public:
  explicit Collection(ProviderSocket& socket) : socket_(socket) { socket_.collected.emplace(); }
  ~Collection() { socket_.collected.reset(); }

  Collection(const Collection&) = delete;
  Collection& operator=(const Collection&) = delete;

 private:
  ProviderSocket& socket_;
};

const cfm::agent::Keypath& KeypathOf(const ProviderRequest& request) {
  if (!request.has_get_elem() && !request.has_get_next()) {
    throw ipc::ProtocolError("a request in a batch that is no read");
  }
  return request.has_get_elem() ? request.get_elem().keypath() : request.get_next().keypath();
}

Progress WorkRead(Daemon& daemon, const ProviderRequest& request, confd_hkeypath_t& keypath,
                  const TimeLimit& limit) {
  return request.has_get_elem() ? WorkGetElem(daemon, request, keypath)
                                : WorkGetNext(daemon, request, keypath, limit);
}

// The failure of the callback at which it ended, if any.
std::optional<ApiError> WorkAll(Daemon& daemon, const ReadBatch& batch) {
  const TimeLimit limit(daemon);
  KeypathBuilder keypath;
  std::optional<ApiError> failure;
  bool goes_on = true;
  for (const ProviderRequest& request : batch.requests()) {
    daemon.worker->last_request = request.id();
    GivenConfiguration::ForgetReads();
    ReadKeypath(KeypathOf(request), keypath);
    if (daemon.IsWithdrawn(request.id())) {
      CFM_FAIL_POINT(confd_request_skipped);
      continue;
    }
    if (!goes_on) {
      CFM_FAIL_POINT(confd_question_returning);
      Send(*daemon.worker, Answer(request.id(), ProviderReply::UNASKED));
      continue;
    }
    try {
      goes_on = WorkRead(daemon, request, keypath.Fill(), limit) == Progress::kGoesOn &&
                !limit.IsReached();
      CFM_FAIL_POINT(confd_question_worked);
    } catch (const ApiError& error) {
      failure = error;
      goes_on = false;
    }
  }
  return failure;
}

}  // namespace

int WorkBatch(Daemon& daemon, const std::shared_ptr<const ReadBatch>& batch) {
  CheckIds(*daemon.worker, *batch);
  CFM_FAIL_POINT(confd_batch_received);
  const Collection collection(*daemon.worker);
  const GivenConfiguration given(daemon.agent, batch);
  const auto failure = WorkAll(daemon, *batch);
  CFM_FAIL_POINT(confd_batch_worked);
  GivenConfiguration::Leave();
  CFM_FAIL_POINT(confd_batch_answering);
  SendCollected(*daemon.worker);
  CFM_FAIL_POINT(confd_batch_answered);
  if (failure) {
    throw *failure;
  }
  return CONFD_OK;
}

}  // namespace confd
