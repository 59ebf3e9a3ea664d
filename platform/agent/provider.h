// One data provider: a program that computes leaves and performs operations.
// It has a control connection, on which transactions begin and end, and a
// worker connection, on which it is asked.
//
// Whoever asks waits for its turn, in which it asks for an operation or for a
// batch of reads. The next turn comes when all of that is answered, but for what
// the provider delays. While a commit is in work nothing is asked, and a commit
// waits for what is: what the provider reads of the configuration to answer is
// what the question was made from.
#ifndef AGENT_PROVIDER_H
#define AGENT_PROVIDER_H

#include <chrono>
#include <cstdint>
#include <functional>
#include <list>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "deadline.h"
#include "heartbeat.h"
#include "lock_table.h"
#include "operational_store.h"
#include "role.h"

namespace agentd {

class Provider;

// Why a request has no reply.
enum class Miss {
  kTimeout,    // the reply was delayed and did not come in time
  kLost,       // the provider is gone
  kEntryGone,  // the entry that it was about is deleted
};

// Who asks. A call may end the asker's life.
class Asker {
 public:
  virtual ~Asker() = default;
  // It may ask now, once, or let its turn pass.
  virtual void OnTurn(Provider& provider) = 0;
  virtual void OnAnswer(std::uint64_t id, const cfm::agent::ProviderReply& reply) = 0;
  // The answer comes later; this is what was found until now.
  virtual void OnDelayed(std::uint64_t id, const cfm::agent::ProviderReply& reply) = 0;
  // The provider has not looked at it, and has forgotten it.
  virtual void OnUnasked(std::uint64_t id) = 0;
  virtual void OnMiss(std::uint64_t id, Miss miss, const std::string& why) = 0;
};

// What all providers share.
struct ProviderRules {
  LockTable& locks;
  Heartbeat& heartbeat;
  std::chrono::microseconds timeout;
  std::function<bool()> on_hold;  // a commit is in work
};

class Provider {
 public:
  // `last_id` numbers the requests to all providers. `on_hang` is called, from the
  // loop, when it does not answer in time or shows no sign of life; the text
  // completes a sentence that begins with the provider.
  Provider(sd_event* loop, const ProviderRules& rules, std::uint64_t number, Peer& control,
           std::uint64_t& last_id, Heartbeat::GiveUp on_hang);
  ~Provider();

  std::uint64_t Number() const { return number_; }
  const std::string& Name() const { return name_; }
  pid_t Pid() const { return pid_; }
  // Calendar time of its registration; 0 before.
  std::int64_t Since() const { return since_; }
  void Registered();
  // How long its oldest question has been waiting for an answer.
  std::uint32_t SilentSeconds() const;
  std::string Describe() const;  // "data provider cfm-app (process 42)"

  bool HasWorker() const { return worker_ != nullptr; }
  void SetWorker(Peer& worker) { worker_ = &worker; }
  // The connection is no more; nothing is sent from now on.
  void Disconnected(const Peer& peer);
  bool IsAlive() const { return alive_; }
  // What `reason` says; the connections are closed and all that is asked is
  // missed. Not from inside Role::Handle.
  void Lose(const std::string& reason);

  // The asker gets a turn, perhaps before the call returns; no sooner than it
  // can walk through a leaf-list of that callpoint, if it is for one.
  void Want(Asker& asker, const std::string& walk = {});
  // In a turn: from now on nobody else walks through leaf-lists of the
  // callpoint, because providers keep one state for all walks. False: another
  // does.
  bool BeginWalk(const Asker& asker, const std::string& callpoint);
  // All of the asker's are ended.
  void EndWalks(const Asker& asker);
  // Begins a transaction: its reply comes as an answer.
  std::uint64_t Begin(Asker& asker, std::uint32_t thandle);
  // Ends it as soon as what it asked on the worker connection is answered.
  void End(std::uint32_t thandle);
  // In a turn: reads of the transaction, at least one, whose ids are missing;
  // `subjects` are the entries that they are about, one each. They are numbered
  // from the id that is returned.
  std::uint64_t Ask(Asker& asker, std::uint32_t thandle, cfm::agent::ReadBatch batch,
                    const std::vector<EntryPtr>& subjects);
  // In a turn: an operation.
  std::uint64_t Perform(Asker& asker, cfm::agent::PerformAction action);
  // The asker wants nothing any more.
  void Forget(const Asker& asker);

  // Whether the callpoint has read the running configuration to answer.
  bool ReadsConfiguration(const std::string& callpoint) const {
    return configuration_readers_.contains(callpoint);
  }
  void NoteReadsConfiguration(const std::string& callpoint) {
    configuration_readers_.insert(callpoint);
  }

  // Replies that are delayed are not waited for any longer.
  void MissDelayed(const std::string& why);
  // It has a question that it has not answered, or somebody waits for a turn.
  bool IsAsked() const;

  void OnReply(const cfm::agent::ProviderReply& reply);
  // Asks for a sign of life.
  void Ping();
  // Gives turns as far as the window allows.
  void Pump();
  // Drops what is asked about an entry that was deleted. Adds the ids of
  // requests that are not answered yet.
  void EntryGone(const EntryPtr& entry, std::vector<std::uint64_t>& withdrawn);

 private:
  enum class Kind { kControl, kWorker, kDelayed };
  struct Request {
    Asker* asker = nullptr;  // null: nobody wants the answer any more
    Kind kind = Kind::kWorker;
    std::uint32_t thandle = 0;
    EntryPtr subject{};
    bool may_return = false;     // unasked: it is not the first of its batch
    std::uint64_t deadline = 0;  // monotonic, in microseconds
  };
  using Requests = std::map<std::uint64_t, Request>;
  struct Waiting {
    Asker* asker = nullptr;
    std::string walk;
  };

  std::uint64_t Send(Peer& peer, cfm::agent::ProviderRequest request, Request record);
  void EnterWindow(std::size_t requests);
  Request Take(Requests::iterator request);
  void LeaveWindow(const Request& request);
  void Delayed(const cfm::agent::ProviderReply& reply, Request& request);
  void FinishTransaction(std::uint32_t thandle);
  bool MayTurn(const Waiting& waiting) const;
  std::uint64_t Now() const;
  void Watch();
  void WatchLife();
  void OnTime();

  sd_event* loop_;
  ProviderRules rules_;
  std::uint64_t number_;
  Peer* control_;
  Peer* worker_ = nullptr;
  std::string name_;
  pid_t pid_;
  std::int64_t since_ = 0;
  std::uint64_t& last_id_;
  Heartbeat::GiveUp on_hang_;
  bool alive_ = true;
  bool pumping_ = false;

  Requests requests_;  // in the order of their sending
  std::size_t in_window_ = 0;
  std::list<Waiting> waiting_;
  std::map<std::string, const Asker*> walks_;  // by callpoint
  std::set<std::string> configuration_readers_;
  std::map<std::uint32_t, std::size_t> asked_;  // in the window, by transaction
  std::set<std::uint32_t> ending_;              // transactions to be finished
  bool watching_ = false;
  bool watching_life_ = false;
  Deadline timer_;
};

}  // namespace agentd

#endif
