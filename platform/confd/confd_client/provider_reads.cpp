// Reads of leaves.
#include <confd_dp.h>

#include "confd_client/provider_answer.h"
#include "confd_client/provider_work.h"
#include "confd_client/read_callback.h"
#include "fail_point.h"

namespace confd {

using cfm::agent::ProviderReply;
using cfm::agent::ProviderRequest;
using Outcome = ReadCallback::Outcome;

Progress WorkGetElem(Daemon& daemon, const ProviderRequest& request, confd_hkeypath_t& keypath) {
  const auto& get = request.get_elem();
  ReadCallback callback(daemon, get.callpoint(), get.thandle());
  if (const std::string objection = callback.Objection(); !objection.empty()) {
    Refuse(*daemon.worker, request.id(), objection);
    return Progress::kGoesOn;
  }
  const auto outcome = callback.Run(
      {.id = request.id(), .kind = OpenRead::Kind::kElem},
      [&](const confd_data_cbs& callbacks, confd_trans_ctx& transaction) {
        return callbacks.get_elem == nullptr ? CONFD_ERR
                                             : callbacks.get_elem(&transaction, &keypath);
      });
  switch (outcome) {
    case Outcome::kDelayed:
      CFM_FAIL_POINT(confd_delaying);
      Send(*daemon.worker, Answer(request.id(), ProviderReply::DELAYED));
      CFM_FAIL_POINT(confd_delayed);
      return Progress::kEnds;
    case Outcome::kFailed:
      Fail(*daemon.worker, request.id(), callback.Failure());
    case Outcome::kFailedLater:
      throw ApiError(CONFD_ERR_EXTERNAL, callback.Failure());
    default:
      return Progress::kGoesOn;
  }
}

}  // namespace confd
