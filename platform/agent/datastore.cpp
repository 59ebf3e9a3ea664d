#include "datastore.h"

#include <stdexcept>

#include "capacity.h"
#include "fail_point.h"
#include "loader.h"
#include "validation.h"

namespace agentd {
namespace {

[[noreturn]] void ThrowUnusable(const Store& store, const Problems& problems) {
  const Problem& first = problems.front();
  throw std::runtime_error(
      "load the running configuration '" + store.File().native() + "': the model does not accept " +
      (first.path.empty() ? "it" : first.path) + ": " + first.message +
      (problems.size() > 1 ? " (and " + std::to_string(problems.size() - 1) + " more)" : "") +
      "; bring back the YANG modules that it was made with, or move the file away to begin with "
      "an empty configuration");
}

}  // namespace

Datastore::Datastore(const Model& model, Store& store) : model_(model), store_(store) {
  auto tree = LoadTree(model, store);
  if (!tree) {
    ThrowUnusable(store, tree.Why());
  }
  Problems problems = Validate(model, *tree);
  Usage usage = UsageOf(model, tree->get());
  CheckCapacities(usage, problems);
  if (!problems.empty()) {
    ThrowUnusable(store, problems);
  }
  running_ = std::make_shared<Snapshot>(store.Txid(), std::move(*tree), std::move(usage));
}

Result<Prepared> Datastore::Prepare(Draft draft) const {
  const Tree before = draft.Before();
  Problems problems = Validate(model_, draft.Data());
  Usage usage =
      Changed(running_->Used(), UsageOf(model_, before.get()), UsageOf(model_, draft.Data().get()));
  CheckCapacities(usage, problems);
  if (!problems.empty()) {
    return problems;
  }
  auto difference = std::make_unique<Difference>(model_, before.get(), draft.Data().get());
  cfm::agent::Change changes = difference->Changes();
  return Prepared{std::move(draft), std::move(difference), std::move(changes), std::move(usage)};
}

Problems Datastore::Publish(Prepared& prepared) {
  const std::uint64_t txid = running_->Txid() + (prepared.changes.children_size() > 0 ? 1 : 0);
  if (Problems problems = store_.Commit(txid, prepared.difference->Rows()); !problems.empty()) {
    return problems;
  }
  prepared.draft.Detach();
  Tree tree = prepared.draft.IsWhole() ? Tree() : TakeRunning();
  std::move(prepared.draft).MoveInto(tree);
  CFM_FAIL_POINT(agent_commit_merged);
  running_ = std::make_shared<Snapshot>(txid, std::move(tree), std::move(prepared.usage));
  CFM_FAIL_POINT(agent_commit_published);
  return {};
}

Tree Datastore::TakeRunning() {
  if (running_.use_count() == 1) {
    CFM_FAIL_POINT(agent_running_taken);
    return running_->Release();
  }
  CFM_FAIL_POINT(agent_running_copied);
  return CopyTree(running_->Top());
}

}  // namespace agentd
