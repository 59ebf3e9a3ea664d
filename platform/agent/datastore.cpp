#include "datastore.h"

#include <stdexcept>

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
  if (const Problems problems = Validate(model, *tree); !problems.empty()) {
    ThrowUnusable(store, problems);
  }
  running_ = std::make_shared<const Snapshot>(store.Txid(), std::move(*tree));
}

Result<Prepared> Datastore::Prepare(Tree tree) const {
  if (Problems problems = Validate(model_, tree); !problems.empty()) {
    return problems;
  }
  auto difference = std::make_unique<Difference>(model_, running_->Top(), tree.get());
  return Prepared{std::move(tree), std::move(difference)};
}

Problems Datastore::Publish(Prepared prepared) {
  const std::uint64_t txid = running_->Txid() + 1;
  if (Problems problems = store_.Commit(txid, prepared.difference->Rows()); !problems.empty()) {
    return problems;
  }
  running_ = std::make_shared<const Snapshot>(txid, std::move(prepared.tree));
  return {};
}

}  // namespace agentd
