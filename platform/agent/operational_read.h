// One northbound read of operational data: what programs wrote, and what the
// data providers compute for it, asked leaf after leaf, as many at a time as a
// batch holds.
//
// It works on one state of the configuration. When a commit comes in between
// it begins anew, a few times; a read that still finds no rest goes on, says
// so, and asks each leaf on the state of the moment, so that a provider is
// never asked for what is no longer configured.
#ifndef AGENT_OPERATIONAL_READ_H
#define AGENT_OPERATIONAL_READ_H

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "providers.h"
#include "read_agenda.h"
#include "read_answers.h"
#include "snapshot.h"

namespace agentd {

class OperationalRead final : public Asker {
 public:
  // Called once, last thing; may end the read's life.
  using Done = std::function<void(cfm::agent::Reply reply)>;

  OperationalRead(const Services& services, const cfm::agent::Get& request, Done done);
  // Gives up what is still asked.
  ~OperationalRead() override;

  // May be done before it returns.
  void Start();

  void OnTurn(Provider& provider) override;
  void OnAnswer(std::uint64_t id, const cfm::agent::ProviderReply& reply) override;
  void OnDelayed(std::uint64_t id, const cfm::agent::ProviderReply& reply) override;
  void OnUnasked(std::uint64_t id) override;
  void OnMiss(std::uint64_t id, Miss miss, const std::string& why) override;

 private:
  using Question = ReadPlan::Question;

  // What the read knows of one provider.
  struct Transaction {
    std::string provider;  // for people
    bool is_open = false;
    std::string refusal{};
  };
  // A question that can be asked now.
  struct Candidate {
    ReadAgenda::Item item;
    bool is_walk_at_hand = false;          // and not of the agenda
    const lyd_node* configured = nullptr;  // what its condition names, if it has one
  };
  // What an outstanding request is about.
  struct Pending {
    std::uint64_t provider = 0;
    std::optional<ReadAgenda::Item> item{};  // none: the beginning of the transaction
    bool is_delayed = false;
  };

  void Proceed();
  std::optional<Candidate> Next();
  Candidate CandidateOf(const ReadAgenda::Item& item) const;
  bool Skip(const Question& question);
  bool Holds(const ComputedLeaf& leaf, const EntryPtr& entry);
  void TakeState();
  void FollowConfiguration();
  void Begin();
  void GiveUp();

  void BeginTransaction(Provider& provider);
  bool MayAsk(Provider& provider, const Question& question);
  std::vector<Candidate> Draw(Provider& provider);
  void Ask(Provider& provider, const std::vector<Candidate>& drawn);
  void AddRequest(const OperationalEntry* before, const Candidate& candidate,
                  cfm::agent::ReadBatch& batch);

  Pending Settle(std::uint64_t id);
  void Settled(const Pending& pending);
  void OnBegun(const Pending& pending, const cfm::agent::ProviderReply& reply);
  void OnSteps(const Pending& pending, const cfm::agent::ProviderReply& reply);

  Problems CheckRequest();
  Problems CheckPath();
  bool NamesOneEntry() const;
  void Finish();
  void Fill(cfm::agent::Reply& reply) const;
  void Refuse(const Problems& problems);

  Services services_;
  cfm::agent::Get request_;
  Done done_;
  InstancePath path_;
  ReadScope scope_;

  SnapshotPtr state_;
  int restarts_ = 0;
  bool is_mixed_ = false;  // commits came in between and there was no rest
  std::uint32_t thandle_ = 0;
  std::optional<ReadAgenda> agenda_;
  std::optional<ReadAnswers> answers_;
  std::map<std::uint64_t, Transaction> transactions_;  // by provider
  std::map<std::string, std::string> silences_;        // why a delayed reply did not come
  std::optional<Walk> walk_;                           // nothing else is asked before it ends
  std::map<std::uint64_t, Pending> pending_;
  std::size_t in_flight_ = 0;              // of them, those that are not delayed
  std::vector<ReadAgenda::Item> unasked_;  // by the batch in flight
  bool wants_turn_ = false;

  // The last condition that was looked at: most leaves of an entry share one.
  struct Judgement {
    const Condition* condition = nullptr;
    const OperationalEntry* entry = nullptr;
    std::uint64_t version = 0;
    const lyd_node* configured = nullptr;
  };
  Judgement judgement_;
};

}  // namespace agentd

#endif
