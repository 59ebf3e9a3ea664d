// Operational data as a data tree, for printing.
#ifndef AGENT_OPERATIONAL_TREE_H
#define AGENT_OPERATIONAL_TREE_H

#include <utility>

#include "operational_store.h"
#include "yang.h"

namespace agentd {

class ReadScope;

// Canonical texts of leaves and of elements of leaf-lists, in their order.
using ComputedValues = std::vector<std::pair<const lysc_node*, std::string>>;

class OperationalTree {
 public:
  // The containers that the path begins with are there, whatever is added.
  // Written leaves are those that the scope wants; it has to live as long.
  OperationalTree(const InstancePath& path, const ReadScope& scope);

  // The entry with what is written in it now and what was computed for it.
  void Add(const OperationalEntry& entry, const ComputedValues& computed);
  const lyd_node* Top() const { return tree_.get(); }

 private:
  lyd_node* ParentOf(const OperationalEntry& entry);
  void AddWritten(const OperationalNode& written, lyd_node* node);

  const ReadScope& scope_;
  Tree tree_;
  InstancePath parent_path_;  // of the entry added last
  lyd_node* parent_ = nullptr;
};

// Text of a leaf of the entry, a key included; null when it has none.
const std::string* WrittenText(const OperationalEntry& entry, const lysc_node& leaf);

// The entry for programs: its keys, its written leaves and its containers, but
// not the lists in it.
cfm::agent::Node NodeOf(const OperationalEntry& entry);

}  // namespace agentd

#endif
