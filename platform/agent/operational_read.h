// One northbound read of operational data: what programs wrote, and what the
// data providers compute for it, asked leaf after leaf.
//
// It works on one state of the configuration. When a commit comes in between
// it begins anew, a few times; a read that still finds no rest goes on, says
// so, and asks each leaf on the state of the moment, so that a provider is
// never asked for what is no longer configured.
#ifndef AGENT_OPERATIONAL_READ_H
#define AGENT_OPERATIONAL_READ_H

#include <deque>
#include <functional>
#include <map>
#include <optional>
#include <string>

#include "omissions.h"
#include "providers.h"
#include "read_plan.h"
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
  void OnDelayed(std::uint64_t id) override;
  void OnMiss(std::uint64_t id, Miss miss, const std::string& why) override;

 private:
  using Question = ReadPlan::Question;

  // What the read knows of one provider.
  struct Transaction {
    std::string provider;  // for people
    bool is_open = false;
    std::string refusal{};
  };
  // A callpoint that delays a reply is not asked again before that comes: the
  // provider is fetching, and the next reply may be ready then.
  struct Callpoint {
    std::size_t delayed = 0;
    std::deque<Question> held{};
    std::string silence{};  // a delayed reply did not come: why
  };
  // Elements of a leaf-list, step by step.
  struct Traversal {
    Question question;
    std::int64_t next = -1;
    bool is_waiting = false;
    std::vector<std::string> elements{};
  };
  // What an outstanding request is about.
  struct Pending {
    std::uint64_t provider = 0;
    std::optional<Question> question{};  // none: the beginning of the transaction
    bool is_delayed = false;
  };
  struct Wanted {
    std::uint64_t provider = 0;
    std::string traversal;
  };

  void Proceed();
  std::optional<Question> Next();
  std::optional<Question> NextHeld();
  void Consume(const Question& question);
  bool Skip(const Question& question);
  bool Holds(const ComputedLeaf& leaf, const EntryPtr& entry);
  bool IsAllAsked();
  void FollowConfiguration();
  void Begin();
  void GiveUp();
  void Ask(Provider& provider, const Question& question);
  void BeginTransaction(Provider& provider);
  Pending Settle(std::uint64_t id);

  void OnBegun(const Pending& pending, const cfm::agent::ProviderReply& reply);
  void OnValue(const Pending& pending, const cfm::agent::ProviderReply& reply);
  void OnStep(const Pending& pending, const cfm::agent::ProviderReply& reply);
  void EndTraversal();
  void Omit(const Question& question, const std::string& cause);

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
  std::optional<ReadPlan> plan_;
  Omissions omissions_;
  std::map<std::uint64_t, Transaction> transactions_;  // by provider
  std::map<std::string, Callpoint> callpoints_;
  std::optional<Traversal> traversal_;
  std::map<std::uint64_t, Pending> pending_;
  std::optional<Wanted> wanted_;

  // The last condition that was looked at: most leaves of an entry share one.
  struct Judgement {
    const Condition* condition = nullptr;
    const OperationalEntry* entry = nullptr;
    std::uint64_t version = 0;
    const Snapshot* state = nullptr;
    bool holds = false;
  };
  Judgement judgement_;
};

}  // namespace agentd

#endif
