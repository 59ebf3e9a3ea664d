// Where read transactions begin and end.
#include <confd_dp.h>

#include "confd_client/provider_answer.h"
#include "confd_client/provider_work.h"
#include "fail_point.h"

namespace confd {

using cfm::agent::ProviderReply;

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
    Fail(*daemon.control, id,
         result != CONFD_OK ? "the init callback of transactions failed"
                            : "the init callback of transactions named no worker socket");
  }
  CFM_FAIL_POINT(confd_transaction_opened);
  Send(*daemon.control, Answer(id, ProviderReply::OK));
  CFM_FAIL_POINT(confd_transaction_open_answered);
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
  CFM_FAIL_POINT(confd_transaction_closed);
  if (result != CONFD_OK) {
    Fail(*daemon.control, id, "the finish callback of transactions failed");
  }
  Send(*daemon.control, Answer(id, ProviderReply::OK));
  return CONFD_OK;
}

}  // namespace confd
