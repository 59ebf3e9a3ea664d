// Reads of leaves and steps of traversals.
#include <confd_dp.h>

#include "confd_client/provider_answer.h"
#include "confd_client/provider_work.h"
#include "confd_client/request_keypath.h"

namespace confd {
namespace {

using cfm::agent::ProviderReply;
using cfm::agent::ProviderRequest;
using Kind = OpenRead::Kind;

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
    Fail(*daemon.worker, id, FailureText(transaction, callpoint, result));
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

}  // namespace

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

}  // namespace confd
