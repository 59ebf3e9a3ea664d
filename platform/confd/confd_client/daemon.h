// What the library keeps of a data provider: its connections, its callbacks
// and the transactions that the agent has open with it.
#ifndef CONFD_CLIENT_DAEMON_H
#define CONFD_CLIENT_DAEMON_H

#include <agent.pb.h>
#include <confd_dp.h>

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <unordered_map>

#include "confd_client/error.h"
#include "confd_client/link.h"

namespace confd {

// A read that waits for its answer.
struct OpenRead {
  enum class Kind { kElem, kNext };

  std::uint64_t id;
  Kind kind;
  bool given_up = false;  // by the agent: its answer is not sent
  // While the callback of a step runs: where its answer goes, which is told
  // with those of the other steps.
  std::optional<cfm::agent::ProviderReply>* step = nullptr;
};

// A context that the program holds. It lives from the agent's opening to its
// end of the transaction, and longer while a read waits for its answer: only
// with that answer the program lets go of it. An answer names its read by the
// context alone, so a context has one read at a time. While that is parked the
// transaction goes on with a copy.
struct Transaction : confd_trans_ctx {
  Transaction(confd_daemon_ctx& owner, std::uint32_t number);

  std::uint32_t Number() const { return static_cast<std::uint32_t>(thandle); }

  std::optional<OpenRead> read;
  bool is_set_aside = false;  // no other read comes with it
  std::string error;          // of confd_trans_seterr
};

// One of the two connections of a provider.
struct ProviderSocket {
  explicit ProviderSocket(int socket) : fd(socket), link(socket) {}

  int fd;
  Link link;
  std::optional<std::uint64_t> last_request;  // that was begun, or will not be
  // While a batch is worked: the replies, which travel together.
  std::optional<cfm::agent::ProviderReplies> collected;
};

struct Daemon : confd_daemon_ctx {
  explicit Daemon(std::string provider_name);

  // Starts a transaction with that number.
  std::shared_ptr<Transaction> Open(std::uint32_t number);
  // The context for the next read of an open transaction; null when there is
  // none of that number.
  std::shared_ptr<Transaction> ForNextRead(std::uint32_t number);
  // The agent has ended it, and so given up what is not answered.
  void Close(std::uint32_t number);
  // Takes the read off, and drops a context that nothing waits for any more.
  void EndRead(Transaction& transaction);

  void Withdraw(std::uint64_t id);
  // Of the request that is begun, or may be next. Ids rise along a connection,
  // so older ones are forgotten.
  bool IsWithdrawn(std::uint64_t id);

  std::string name;
  std::uint64_t provider = 0;  // the agent's number of it
  std::string agent;           // its address, for people
  // Time since some moment.
  std::chrono::steady_clock::duration (*now)() = [] {
    return std::chrono::steady_clock::now().time_since_epoch();
  };
  std::optional<ProviderSocket> control;
  std::optional<ProviderSocket> worker;
  bool register_done = false;
  std::optional<confd_trans_cbs> transaction_callbacks;
  std::map<std::string, confd_data_cbs> callpoints;
  std::map<std::string, confd_action_cbs> action_points;
  std::map<std::uint32_t, std::shared_ptr<Transaction>> open;
  // All that the program may still hold, the open ones too.
  std::unordered_map<const confd_trans_ctx*, std::shared_ptr<Transaction>> contexts;

 private:
  std::set<std::uint64_t> withdrawn_;  // and not worked yet
};

// Those of the process. The finders take any pointer and look at no memory
// behind it.
confd_daemon_ctx* AddDaemon(const char* name);
void RemoveDaemon(const confd_daemon_ctx* dx);
// Throws ApiError for what is no daemon context, or was released.
std::shared_ptr<Daemon> FindDaemon(const confd_daemon_ctx* dx);

struct FoundTransaction {
  std::shared_ptr<Daemon> daemon;
  std::shared_ptr<Transaction> transaction;
};
// Throws ApiError for a context that is not there, or no more.
FoundTransaction FindTransaction(const confd_trans_ctx* tctx);

// The agent has withdrawn a request to a provider of this process. One that is
// not read yet will be dropped; one that is parked is given up.
void WithdrawRequest(std::uint64_t id);

// Runs the body of a C call on a provider.
template <typename Body>
int OnDaemon(const confd_daemon_ctx* dx, Body body) noexcept {
  return Guarded([&] {
    const auto daemon = FindDaemon(dx);
    return body(*daemon);
  });
}

}  // namespace confd

#endif
