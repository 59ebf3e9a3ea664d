#include "operational_read.h"

#include <algorithm>

#include "datastore.h"
#include "keypath.h"
#include "render.h"
#include "typed_value.h"

namespace agentd {
namespace {

using cfm::agent::ProviderReply;

// Commits that a read begins anew for.
constexpr int kMaxRestarts = 3;
// A provider that finds no end of a leaf-list is at fault.
constexpr std::size_t kMaxElements = 65536;

bool IsLeafList(const ReadPlan::Question& question) {
  return question.leaf->schema->nodetype == LYS_LEAFLIST;
}

std::string TraversalOf(const ReadPlan::Question& question) {
  return IsLeafList(question) ? question.leaf->callpoint : "";
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
  if (NamesOneEntry() && plan_->Targets().empty()) {
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
  state_ = services_.datastore.Running();
  thandle_ = services_.providers.NewTransaction();
  plan_.emplace(services_.operational.Top(), services_.provider_model, path_, scope_);
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

bool OperationalRead::IsAllAsked() {
  return !traversal_ && !plan_->Front() &&
         std::all_of(callpoints_.begin(), callpoints_.end(),
                     [](const auto& each) { return each.second.held.empty(); });
}

// A read that only waits for delayed replies is what it is.
void OperationalRead::FollowConfiguration() {
  if (state_ == services_.datastore.Running() || IsAllAsked()) {
    return;
  }
  if (restarts_ == kMaxRestarts) {
    state_ = services_.datastore.Running();
    is_mixed_ = true;
    return;
  }
  ++restarts_;
  GiveUp();
  transactions_.clear();
  callpoints_.clear();
  traversal_.reset();
  pending_.clear();
  wanted_.reset();
  omissions_.Clear();
  Begin();
}

bool OperationalRead::Holds(const ComputedLeaf& leaf, const EntryPtr& entry) {
  if (leaf.condition == nullptr) {
    return true;
  }
  const bool is_known = judgement_.condition == leaf.condition.get() &&
                        judgement_.entry == entry.get() && judgement_.version == entry->version &&
                        judgement_.state == state_.get();
  if (!is_known) {
    const auto neighbour = [&](const lysc_node& each) { return WrittenText(*entry, each); };
    judgement_ = {leaf.condition.get(), entry.get(), entry->version, state_.get(),
                  leaf.condition->Holds(services_.model, state_->Top(), neighbour)};
  }
  return judgement_.holds;
}

// Whether the question need not, or cannot, be asked. The latter is noted.
bool OperationalRead::Skip(const Question& question) {
  const EntryPtr& entry = plan_->At(question).entry;
  if (entry->gone || !Holds(*question.leaf, entry)) {
    return true;
  }
  const std::string& name = question.leaf->callpoint;
  const Callpoint& callpoint = callpoints_[name];
  if (!callpoint.silence.empty()) {
    Omit(question, callpoint.silence);
    return true;
  }
  const Provider* provider = services_.providers.ForCallpoint(name);
  if (provider == nullptr) {
    Omit(question, services_.providers.AbsenceOfCallpoint(name));
    return true;
  }
  const auto transaction = transactions_.find(provider->Number());
  if (transaction != transactions_.end() && !transaction->second.refusal.empty()) {
    Omit(question, transaction->second.refusal);
    return true;
  }
  return false;
}

void OperationalRead::Omit(const Question& question, const std::string& cause) {
  omissions_.Add(cause, question.leaf->schema->name, question.target);
}

std::optional<OperationalRead::Question> OperationalRead::NextHeld() {
  for (auto& [name, callpoint] : callpoints_) {
    while (callpoint.delayed == 0 && !callpoint.held.empty()) {
      const Question question = callpoint.held.front();
      if (!Skip(question)) {
        return question;
      }
      callpoint.held.pop_front();
    }
  }
  return std::nullopt;
}

// Nothing when all is asked, or when what is left waits for a reply.
std::optional<OperationalRead::Question> OperationalRead::Next() {
  FollowConfiguration();
  if (traversal_) {
    if (traversal_->is_waiting) {
      return std::nullopt;
    }
    if (!Skip(traversal_->question)) {
      return traversal_->question;
    }
    EndTraversal();
  }
  if (const auto held = NextHeld()) {
    return held;
  }
  while (const auto question = plan_->Front()) {
    Callpoint& callpoint = callpoints_[question->leaf->callpoint];
    if (callpoint.delayed > 0) {
      callpoint.held.push_back(*question);
    } else if (!Skip(*question)) {
      return question;
    }
    plan_->Pop();
  }
  return std::nullopt;
}

// Takes the question that Next gave from where it came from.
void OperationalRead::Consume(const Question& question) {
  if (traversal_) {
    traversal_->is_waiting = true;
    return;
  }
  std::deque<Question>& held = callpoints_[question.leaf->callpoint].held;
  if (!held.empty()) {
    held.pop_front();
  } else {
    plan_->Pop();
  }
  if (IsLeafList(question)) {
    traversal_ = Traversal{.question = question, .is_waiting = true};
  }
}

void OperationalRead::Proceed() {
  const auto question = Next();
  if (!question) {
    if (pending_.empty()) {
      Finish();
    }
    return;
  }
  Provider& provider = *services_.providers.ForCallpoint(question->leaf->callpoint);
  const auto transaction = transactions_.find(provider.Number());
  if (transaction == transactions_.end()) {
    BeginTransaction(provider);
  } else if (transaction->second.is_open && !wanted_) {
    wanted_ = Wanted{provider.Number(), TraversalOf(*question)};
    provider.Want(*this, wanted_->traversal);
  }
}

void OperationalRead::BeginTransaction(Provider& provider) {
  transactions_[provider.Number()] = {.provider = provider.Describe()};
  pending_[provider.Begin(*this, thandle_)] = {.provider = provider.Number()};
}

void OperationalRead::OnTurn(Provider& provider) {
  const Wanted wanted = std::exchange(wanted_, std::nullopt).value_or(Wanted{});
  const auto question = Next();
  const bool is_meant = question && wanted.provider == provider.Number() &&
                        TraversalOf(*question) == wanted.traversal &&
                        services_.providers.ForCallpoint(question->leaf->callpoint) == &provider &&
                        transactions_.contains(provider.Number());
  if (is_meant) {
    Ask(provider, *question);
  } else if (!traversal_) {
    provider.EndTraversal(*this);
  }
  Proceed();
}

void OperationalRead::Ask(Provider& provider, const Question& question) {
  const EntryPtr entry = plan_->At(question).entry;
  const auto keypath = KeypathOf(services_.model, *entry, *question.leaf->schema);
  Consume(question);
  cfm::agent::ProviderRequest request;
  const auto fill = [&](auto& get) {
    get.set_thandle(thandle_);
    get.set_callpoint(question.leaf->callpoint);
    *get.mutable_keypath() = keypath;
  };
  if (traversal_) {
    fill(*request.mutable_get_next());
    request.mutable_get_next()->set_next(traversal_->next);
  } else {
    fill(*request.mutable_get_elem());
  }
  const std::uint64_t id = provider.Ask(*this, std::move(request), thandle_, entry);
  pending_[id] = {.provider = provider.Number(), .question = question};
}

OperationalRead::Pending OperationalRead::Settle(std::uint64_t id) {
  const auto found = pending_.find(id);
  const Pending pending = found->second;
  pending_.erase(found);
  if (pending.is_delayed) {
    --callpoints_[pending.question->leaf->callpoint].delayed;
  }
  return pending;
}

void OperationalRead::OnAnswer(std::uint64_t id, const ProviderReply& reply) {
  const Pending pending = Settle(id);
  if (!pending.question) {
    OnBegun(pending, reply);
  } else if (IsLeafList(*pending.question)) {
    OnStep(pending, reply);
  } else {
    OnValue(pending, reply);
  }
  Proceed();
}

void OperationalRead::OnBegun(const Pending& pending, const ProviderReply& reply) {
  Transaction& transaction = transactions_[pending.provider];
  transaction.is_open = reply.result() == ProviderReply::OK;
  if (!transaction.is_open) {
    transaction.refusal = transaction.provider + " refused the read: " + reply.error();
  }
}

void OperationalRead::OnValue(const Pending& pending, const ProviderReply& reply) {
  const Question& question = *pending.question;
  const std::string& who = transactions_[pending.provider].provider;
  if (reply.result() == ProviderReply::ERROR) {
    Omit(question, who + " answered: " + reply.error());
  } else if (reply.result() == ProviderReply::OK) {
    const auto text = CheckedText(services_.model, *question.leaf->schema, reply.value());
    if (text) {
      plan_->At(question).values.emplace_back(question.leaf->schema, *text);
    } else {
      Omit(question, who + " answered what the model forbids: " + text.Why().front().message);
    }
  }
}

void OperationalRead::OnStep(const Pending& pending, const ProviderReply& reply) {
  const Question& question = *pending.question;
  const std::string& who = transactions_[pending.provider].provider;
  if (reply.result() == ProviderReply::ERROR) {
    Omit(question, who + " answered: " + reply.error());
    return EndTraversal();
  }
  const bool has_element = reply.result() == ProviderReply::OK && reply.keys_size() > 0;
  if (has_element) {
    const auto text = CheckedText(services_.model, *question.leaf->schema, reply.keys(0));
    if (!text || traversal_->elements.size() == kMaxElements) {
      Omit(question,
           who + (text ? " finds no end"
                       : " answered what the model forbids: " + text.Why().front().message));
      return EndTraversal();
    }
    traversal_->elements.push_back(*text);
    traversal_->next = reply.next();
    traversal_->is_waiting = false;
  }
  if (!has_element || reply.next() == -1) {
    for (const std::string& element : traversal_->elements) {
      plan_->At(question).values.emplace_back(question.leaf->schema, element);
    }
    EndTraversal();
  }
}

void OperationalRead::EndTraversal() {
  const std::string callpoint = traversal_->question.leaf->callpoint;
  traversal_.reset();
  if (Provider* provider = services_.providers.ForCallpoint(callpoint)) {
    provider->EndTraversal(*this);
  }
}

void OperationalRead::OnDelayed(std::uint64_t id) {
  Pending& pending = pending_.at(id);
  pending.is_delayed = true;
  ++callpoints_[pending.question->leaf->callpoint].delayed;
  Proceed();
}

void OperationalRead::OnMiss(std::uint64_t id, Miss miss, const std::string& why) {
  const Pending pending = Settle(id);
  if (!pending.question) {
    transactions_.erase(pending.provider);
    return Proceed();
  }
  if (miss != Miss::kEntryGone) {
    Omit(*pending.question, why);
  }
  if (miss == Miss::kTimeout) {
    callpoints_[pending.question->leaf->callpoint].silence = why;
  }
  if (IsLeafList(*pending.question)) {
    EndTraversal();
  }
  Proceed();
}

void OperationalRead::Refuse(const Problems& problems) {
  cfm::agent::Reply reply;
  AddProblems(problems, reply);
  std::exchange(done_, nullptr)(std::move(reply));
}

void OperationalRead::Fill(cfm::agent::Reply& reply) const {
  std::size_t gone = 0;
  OperationalTree tree(path_, scope_);
  for (const ReadPlan::Target& target : plan_->Targets()) {
    if (target.entry->gone) {
      ++gone;
    } else {
      tree.Add(*target.entry, target.values);
    }
  }
  // A read that began anew may have found it gone already.
  const auto& targets = plan_->Targets();
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
  for (const std::string& warning : omissions_.Warnings()) {
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
