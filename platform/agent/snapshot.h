// One state of the running configuration, immutable once it is published.
#ifndef AGENT_SNAPSHOT_H
#define AGENT_SNAPSHOT_H

#include <cstdint>
#include <memory>
#include <unordered_map>
#include <vector>

#include "capacity.h"
#include "yang.h"

namespace agentd {

class Snapshot {
 public:
  // A validated tree with its implicit nodes, instances in order, and what it
  // takes of each of the model's capacities.
  Snapshot(std::uint64_t txid, Tree tree, Usage usage)
      : txid_(txid), tree_(std::move(tree)), usage_(std::move(usage)) {}

  std::uint64_t Txid() const { return txid_; }
  const lyd_node* Top() const { return tree_.get(); }
  const Usage& Used() const { return usage_; }

  // Its tree, to be made into the next state: for the last one that holds it.
  Tree Release() { return std::move(tree_); }

  // The entries of a list below `parent`, by position. Looked up once per
  // list and kept, so that a walk by position costs one pass.
  const std::vector<const lyd_node*>& Entries(const lyd_node* parent, const lysc_node& list) const;

 private:
  using Lists = std::unordered_map<const lysc_node*, std::vector<const lyd_node*>>;

  std::uint64_t txid_;
  Tree tree_;
  Usage usage_;
  mutable std::unordered_map<const lyd_node*, Lists> entries_;
};

using SnapshotPtr = std::shared_ptr<const Snapshot>;

}  // namespace agentd

#endif
