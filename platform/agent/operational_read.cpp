#include "operational_read.h"

#include <algorithm>

#include "datastore.h"
#include "excerpt.h"
#include "fail_point.h"
#include "keypath.h"
#include "render.h"
#include "unprovided.h"

namespace agentd {
namespace {

using cfm::agent::ProviderReply;

// Commits that a read begins anew for.
constexpr int kMaxRestarts = 3;
// In one batch: a provider works them in about a millisecond, for which a
// commit waits, and an exchange of messages costs little beside them.
constexpr std::size_t kMostQuestions = 64;
constexpr std::uint32_t kMostSteps = 256;  // of one walk

bool IsLeafList(const ReadPlan::Question& question) {
  return question.leaf->schema->nodetype == LYS_LEAFLIST;
}

}  // namespace

OperationalRead::OperationalRead(const Services& services, const cfm::agent::Get& request,
                                 Done done)
    : services_(services), request_(request), done_(std::move(done)) {}

OperationalRead::~OperationalRead() {
  GiveUp();
}

void OperationalRead::Start() {
  if (const Problems problems = CheckRequest(); !problems.empty()) {
    return Refuse(problems);
  }
  Begin();
  if (NamesOneEntry() && agenda_->Plan().Targets().empty()) {
    return Refuse(
        {{.message = "there is no such entry", .path = TextOf(path_), .rule = "data-missing"}});
  }
  Proceed();
}

Problems OperationalRead::CheckRequest() {
  auto scope = ReadScope::Of(services_.model, services_.provider_model, request_);
  if (!scope) {
    return scope.Why();
  }
  scope_ = std::move(*scope);
  return CheckPath();
}

Problems OperationalRead::CheckPath() {
  if (request_.path().empty()) {
    return {};
  }
  auto parsed = ParsePath(services_.model, request_.path());
  if (!parsed) {
    return parsed.Why();
  }
  path_ = std::move(*parsed);
  if ((path_.back().schema->flags & LYS_CONFIG_R) == 0) {
    return {{.message = "get: this is configuration; read it from the running datastore",
             .path = TextOf(path_)}};
  }
  return {};
}

bool OperationalRead::NamesOneEntry() const {
  return std::any_of(path_.begin(), path_.end(), [](const PathStep& step) {
    return step.schema->nodetype == LYS_LIST && !step.keys.empty();
  });
}

void OperationalRead::Begin() {
  TakeState();
  thandle_ = services_.providers.NewTransaction();
  agenda_.emplace(ReadPlan(services_.operational.Top(), services_.provider_model, path_, scope_));
  answers_.emplace(services_.model, agenda_->Plan());
}

void OperationalRead::GiveUp() {
  services_.providers.Forget(*this);
  for (const auto& [number, transaction] : transactions_) {
    Provider* provider = services_.providers.WithNumber(number);
    if (provider != nullptr && transaction.refusal.empty()) {
      provider->End(thandle_);
    }
  }
}

// What was judged points into the state that goes.
void OperationalRead::TakeState() {
  judgement_ = {};
  state_ = services_.datastore.Running();
}

// A read that only waits for delayed replies is what it is.
void OperationalRead::FollowConfiguration() {
  if (state_ == services_.datastore.Running() || (!walk_ && agenda_->IsEmpty())) {
    return;
  }
  if (restarts_ == kMaxRestarts) {
    TakeState();
    is_mixed_ = true;
    return;
  }
  ++restarts_;
  CFM_FAIL_POINT(agent_read_restarting);
  GiveUp();
  transactions_.clear();
  silences_.clear();
  walk_.reset();
  pending_.clear();
  in_flight_ = 0;
  unasked_.clear();
  wants_turn_ = false;
  Begin();
}

bool OperationalRead::Holds(const ComputedLeaf& leaf, const EntryPtr& entry) {
  if (leaf.condition == nullptr) {
    return true;
  }
  const bool is_known = judgement_.condition == leaf.condition.get() &&
                        judgement_.entry == entry.get() && judgement_.version == entry->version;
  if (!is_known) {
    const auto neighbour = [&](const lysc_node& each) { return WrittenText(*entry, each); };
    judgement_ = {leaf.condition.get(), entry.get(), entry->version,
                  leaf.condition->Find(services_.model, state_->Top(), neighbour)};
  }
  return judgement_.configured != nullptr;
}

// Whether the question need not, or cannot, be asked. The latter is noted.
bool OperationalRead::Skip(const Question& question) {
  const EntryPtr& entry = agenda_->Plan().At(question).entry;
  if (entry->gone || !Holds(*question.leaf, entry)) {
    return true;
  }
  const std::string& name = question.leaf->callpoint;
  if (const auto silence = silences_.find(name); silence != silences_.end()) {
    answers_->Omit(question, silence->second);
    return true;
  }
  const Provider* provider = services_.providers.ForCallpoint(name);
  if (provider == nullptr) {
    answers_->Omit(question, services_.providers.AbsenceOfCallpoint(name));
    return true;
  }
  const auto transaction = transactions_.find(provider->Number());
  if (transaction != transactions_.end() && !transaction->second.refusal.empty()) {
    answers_->Omit(question, transaction->second.refusal);
    return true;
  }
  return false;
}

// Nothing when all is asked, or when what is left waits for a reply.
std::optional<OperationalRead::Candidate> OperationalRead::Next() {
  if (walk_) {
    if (walk_->is_waiting) {
      return std::nullopt;
    }
    if (!Skip(walk_->question)) {
      Candidate candidate = CandidateOf({walk_->question});
      candidate.is_walk_at_hand = true;
      return candidate;
    }
    walk_.reset();
  }
  const auto item = agenda_->Front([this](const Question& question) { return Skip(question); });
  return item ? std::optional(CandidateOf(*item)) : std::nullopt;
}

// Of a question that was just looked at.
OperationalRead::Candidate OperationalRead::CandidateOf(const ReadAgenda::Item& item) const {
  const bool has_condition = item.question.leaf->condition != nullptr;
  return {.item = item, .configured = has_condition ? judgement_.configured : nullptr};
}

// While something is in flight, what is to be asked next is not known.
void OperationalRead::Proceed() {
  if (in_flight_ > 0) {
    return;
  }
  FollowConfiguration();
  const auto candidate = Next();
  if (!candidate) {
    if (pending_.empty()) {
      Finish();
    }
    return;
  }
  const Question& question = candidate->item.question;
  Provider& provider = *services_.providers.ForCallpoint(question.leaf->callpoint);
  if (!transactions_.contains(provider.Number())) {
    BeginTransaction(provider);
  } else if (!wants_turn_) {
    wants_turn_ = true;
    provider.Want(*this, IsLeafList(question) ? question.leaf->callpoint : "");
  }
}

void OperationalRead::BeginTransaction(Provider& provider) {
  transactions_[provider.Number()] = {.provider = provider.Describe()};
  pending_[provider.Begin(*this, thandle_)] = {.provider = provider.Number()};
  ++in_flight_;
}

void OperationalRead::OnTurn(Provider& provider) {
  wants_turn_ = false;
  FollowConfiguration();
  if (const auto drawn = Draw(provider); !drawn.empty()) {
    Ask(provider, drawn);
  }
  Proceed();
}

bool OperationalRead::MayAsk(Provider& provider, const Question& question) {
  const std::string& callpoint = question.leaf->callpoint;
  const auto transaction = transactions_.find(provider.Number());
  return services_.providers.ForCallpoint(callpoint) == &provider &&
         transaction != transactions_.end() && transaction->second.is_open &&
         (!IsLeafList(question) || provider.BeginWalk(*this, callpoint));
}

// Takes what is to be asked next, as far as it can be asked in one batch. A walk
// at hand goes alone: what follows it depends on where it ends.
std::vector<OperationalRead::Candidate> OperationalRead::Draw(Provider& provider) {
  std::vector<Candidate> drawn;
  while (drawn.size() < kMostQuestions) {
    const auto next = Next();
    if (!next || !MayAsk(provider, next->item.question)) {
      break;
    }
    drawn.push_back(*next);
    if (next->is_walk_at_hand) {
      walk_->is_waiting = true;
      break;
    }
    agenda_->Pop(next->item);
  }
  return drawn;
}

void OperationalRead::Ask(Provider& provider, const std::vector<Candidate>& drawn) {
  cfm::agent::ReadBatch batch;
  Excerpt excerpt(services_.model, *state_);
  std::vector<EntryPtr> subjects;
  const OperationalEntry* before = nullptr;
  for (const Candidate& candidate : drawn) {
    const Question& question = candidate.item.question;
    subjects.push_back(agenda_->Plan().At(question).entry);
    AddRequest(before, candidate, batch);
    before = subjects.back().get();
    if (candidate.configured != nullptr && provider.ReadsConfiguration(question.leaf->callpoint)) {
      excerpt.Add(*candidate.configured);
    }
  }
  *batch.mutable_configuration() = excerpt.Take();
  std::uint64_t id = provider.Ask(*this, thandle_, std::move(batch), subjects);
  for (const Candidate& candidate : drawn) {
    pending_[id++] = {.provider = provider.Number(), .item = candidate.item};
  }
  in_flight_ += drawn.size();
}

void OperationalRead::AddRequest(const OperationalEntry* before, const Candidate& candidate,
                                 cfm::agent::ReadBatch& batch) {
  const Question& question = candidate.item.question;
  const OperationalEntry& entry = *agenda_->Plan().At(question).entry;
  const auto fill = [&](auto& get) {
    get.set_thandle(thandle_);
    get.set_callpoint(question.leaf->callpoint);
    *get.mutable_keypath() = KeypathOf(services_.model, before, entry, *question.leaf->schema);
  };
  cfm::agent::ProviderRequest& request = *batch.add_requests();
  if (IsLeafList(question)) {
    fill(*request.mutable_get_next());
    request.mutable_get_next()->set_next(candidate.is_walk_at_hand ? walk_->next : -1);
    request.mutable_get_next()->set_steps(kMostSteps);
  } else {
    fill(*request.mutable_get_elem());
  }
}

OperationalRead::Pending OperationalRead::Settle(std::uint64_t id) {
  const auto found = pending_.find(id);
  const Pending pending = found->second;
  pending_.erase(found);
  if (pending.is_delayed) {
    agenda_->NoLongerDelayed(pending.item->question.leaf->callpoint);
  } else {
    --in_flight_;
  }
  return pending;
}

// What the batch has left undone is to be asked again, before anything else.
void OperationalRead::Settled(const Pending& pending) {
  if (in_flight_ > 0) {
    return;
  }
  agenda_->Return(std::exchange(unasked_, {}));
  Provider* provider = services_.providers.WithNumber(pending.provider);
  if (provider != nullptr && !walk_) {
    provider->EndWalks(*this);
  }
  Proceed();
}

void OperationalRead::OnAnswer(std::uint64_t id, const ProviderReply& reply) {
  const Pending pending = Settle(id);
  if (!pending.item) {
    OnBegun(pending, reply);
    return Settled(pending);
  }
  const Question& question = pending.item->question;
  if (IsLeafList(question)) {
    OnSteps(pending, reply);
  } else {
    answers_->TakeValue(question, reply, transactions_[pending.provider].provider);
  }
  Provider* provider = services_.providers.WithNumber(pending.provider);
  if (provider != nullptr && reply.reads_configuration()) {
    provider->NoteReadsConfiguration(question.leaf->callpoint);
  }
  Settled(pending);
}

void OperationalRead::OnBegun(const Pending& pending, const ProviderReply& reply) {
  Transaction& transaction = transactions_[pending.provider];
  transaction.is_open = reply.result() == ProviderReply::OK;
  if (!transaction.is_open) {
    transaction.refusal = transaction.provider + " refused the read: " + reply.error();
  }
}

// The walk at hand, or one that was begun by the batch.
void OperationalRead::OnSteps(const Pending& pending, const ProviderReply& reply) {
  const Question& question = pending.item->question;
  const std::string& who = transactions_[pending.provider].provider;
  const bool is_at_hand = walk_ && walk_->question == question;
  if (walk_ && !is_at_hand) {
    return answers_->Omit(question, who + " goes on before a walk is at its end");
  }
  Walk walk = is_at_hand ? std::move(*walk_) : Walk{.question = question};
  walk_.reset();
  if (answers_->TakeSteps(walk, reply, who)) {
    walk_ = std::move(walk);
  }
}

void OperationalRead::OnDelayed(std::uint64_t id, const ProviderReply& reply) {
  Pending& pending = pending_.at(id);
  pending.is_delayed = true;
  --in_flight_;
  const Question& question = pending.item->question;
  agenda_->Delayed(question.leaf->callpoint);
  if (IsLeafList(question)) {
    OnSteps(pending, reply);
  }
  Settled(pending);
}

void OperationalRead::OnUnasked(std::uint64_t id) {
  const Pending pending = Settle(id);
  unasked_.push_back(*pending.item);
  Settled(pending);
}

void OperationalRead::OnMiss(std::uint64_t id, Miss miss, const std::string& why) {
  const Pending pending = Settle(id);
  if (!pending.item) {
    transactions_.erase(pending.provider);
    return Settled(pending);
  }
  const Question& question = pending.item->question;
  if (miss != Miss::kEntryGone) {
    answers_->Omit(question, why);
  }
  if (miss == Miss::kTimeout) {
    silences_[question.leaf->callpoint] = why;
  }
  if (walk_ && walk_->question == question) {
    walk_.reset();
  }
  Settled(pending);
}

void OperationalRead::Refuse(const Problems& problems) {
  cfm::agent::Reply reply;
  AddProblems(problems, reply);
  std::exchange(done_, nullptr)(std::move(reply));
}

void OperationalRead::Fill(cfm::agent::Reply& reply) const {
  std::size_t gone = 0;
  OperationalTree tree(path_, scope_);
  for (const ReadPlan::Target& target : agenda_->Plan().Targets()) {
    if (target.entry->gone) {
      ++gone;
    } else {
      tree.Add(*target.entry, target.values);
    }
  }
  // A read that began anew may have found it gone already.
  const auto& targets = agenda_->Plan().Targets();
  if (NamesOneEntry() && (targets.empty() || targets.front().entry->gone)) {
    AddProblems({{.message = "the entry is gone: it was deleted during the read",
                  .path = TextOf(path_),
                  .rule = "data-missing"}},
                reply);
    return;
  }
  AddProblems(Render(services_.model, tree.Top(), request_, reply), reply);
  if (gone > 0) {
    reply.add_warnings(CountOf(gone) + " went away during the read");
  }
  auto warnings = answers_->Omitted().Warnings();
  if (warnings.empty()) {
    warnings = WarningsOfUnprovided(services_.providers, services_.provider_model,
                                    services_.operational, path_, scope_);
  }
  for (const std::string& warning : warnings) {
    reply.add_warnings(warning);
  }
  if (is_mixed_) {
    reply.add_warnings("commits came during the read: its parts show different commits");
  }
}

void OperationalRead::Finish() {
  cfm::agent::Reply reply;
  try {
    Fill(reply);
  } catch (const std::exception& error) {
    return Refuse({{.message = std::string("get: ") + error.what()}});
  }
  std::exchange(done_, nullptr)(std::move(reply));
}

}  // namespace agentd
