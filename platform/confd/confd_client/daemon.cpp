#include "confd_client/daemon.h"

#include <iterator>
#include <utility>

#include "fail_point.h"

namespace confd {
namespace {

using Daemons = std::unordered_map<const confd_daemon_ctx*, std::shared_ptr<Daemon>>;

Daemons& AllDaemons() {
  static Daemons daemons;
  return daemons;
}

}  // namespace

Transaction::Transaction(confd_daemon_ctx& owner, std::uint32_t number) : confd_trans_ctx{} {
  fd = -1;
  thandle = static_cast<int>(number);
  dx = &owner;
}

Daemon::Daemon(std::string provider_name) : confd_daemon_ctx{}, name(std::move(provider_name)) {}

std::shared_ptr<Transaction> Daemon::Open(std::uint32_t number) {
  auto transaction = std::make_shared<Transaction>(*this, number);
  contexts.emplace(transaction.get(), transaction);
  open.insert_or_assign(number, transaction);
  return transaction;
}

std::shared_ptr<Transaction> Daemon::ForNextRead(std::uint32_t number) {
  const auto found = open.find(number);
  if (found == open.end()) {
    return nullptr;
  }
  const auto current = found->second;
  if (!current->read) {
    return current;
  }
  auto next = Open(number);
  next->fd = current->fd;
  next->t_opaque = current->t_opaque;
  current->is_set_aside = true;
  return next;
}

void Daemon::Close(std::uint32_t number) {
  open.erase(number);
  for (auto context = contexts.begin(); context != contexts.end();) {
    Transaction& transaction = *context->second;
    const bool is_meant = transaction.Number() == number;
    if (is_meant && transaction.read) {
      transaction.is_set_aside = true;
      transaction.read->given_up = true;
    }
    context = is_meant && !transaction.read ? contexts.erase(context) : std::next(context);
  }
}

void Daemon::EndRead(Transaction& transaction) {
  transaction.read.reset();
  if (transaction.is_set_aside) {
    contexts.erase(&transaction);
  }
}

void Daemon::Withdraw(std::uint64_t id) {
  if (!worker) {
    return;
  }
  if (!worker->last_request || id >= *worker->last_request) {
    withdrawn_.insert(id);
  }
  for (const auto& [context, transaction] : contexts) {
    if (transaction->read && transaction->read->id == id) {
      transaction->read->given_up = true;
    }
  }
}

bool Daemon::IsWithdrawn(std::uint64_t id) {
  withdrawn_.erase(withdrawn_.begin(), withdrawn_.lower_bound(id));
  return withdrawn_.contains(id);
}

confd_daemon_ctx* AddDaemon(const char* name) {
  auto daemon = std::make_shared<Daemon>(name == nullptr ? "" : name);
  confd_daemon_ctx* const context = daemon.get();
  AllDaemons().emplace(context, std::move(daemon));
  return context;
}

void RemoveDaemon(const confd_daemon_ctx* dx) {
  const auto found = AllDaemons().find(dx);
  if (found != AllDaemons().end()) {
    // A call that is under way may still hold the object.
    found->second->open.clear();
    found->second->contexts.clear();
    AllDaemons().erase(found);
  }
}

std::shared_ptr<Daemon> FindDaemon(const confd_daemon_ctx* dx) {
  const auto found = AllDaemons().find(dx);
  if (found == AllDaemons().end()) {
    throw ApiError(CONFD_ERR_PROTOUSAGE,
                   "this is no daemon context of confd_init_daemon, or it was released");
  }
  return found->second;
}

FoundTransaction FindTransaction(const confd_trans_ctx* tctx) {
  for (const auto& [dx, daemon] : AllDaemons()) {
    const auto found = daemon->contexts.find(tctx);
    if (found != daemon->contexts.end()) {
      return {daemon, found->second};
    }
  }
  throw ApiError(CONFD_ERR_BADSTATE,
                 "the transaction is over: the agent has given it up, or has been answered");
}

void WithdrawRequest(std::uint64_t id) {
  CFM_FAIL_POINT(confd_withdrawing);
  for (const auto& [dx, daemon] : AllDaemons()) {
    daemon->Withdraw(id);
  }
}

}  // namespace confd
