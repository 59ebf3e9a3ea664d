// What the model leaves to data providers: leaves that are computed when they
// are read, and operations.
#ifndef AGENT_PROVIDER_MODEL_H
#define AGENT_PROVIDER_MODEL_H

#include <map>
#include <memory>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

#include "condition.h"
#include "model.h"

namespace agentd {

// A leaf or leaf-list below a list entry that a callpoint answers.
struct ComputedLeaf {
  const lysc_node* schema = nullptr;
  std::string callpoint;
  std::shared_ptr<const Condition> condition;  // null: always asked
};

struct Operation {
  const lysc_node_action* schema = nullptr;
  std::string actionpoint;  // empty: nobody can perform it
};

class ProviderModel {
 public:
  // Throws std::runtime_error when a callpoint stands where the agent cannot
  // ask, or under a condition that it does not understand.
  explicit ProviderModel(const Model& model);

  bool HasCallpoint(const std::string& name) const { return callpoints_.contains(name); }
  const std::set<std::string>& Callpoints() const { return callpoints_; }
  bool HasActionpoint(const std::string& name) const { return actionpoints_.contains(name); }

  // Lists whose entries have computed leaves.
  std::vector<const lysc_node*> Lists() const;
  // The computed leaves of a list's entries, in the order of the model.
  const std::vector<ComputedLeaf>& LeavesOf(const lysc_node& list) const;
  // Whether a callpoint answers for the node.
  bool IsComputed(const lysc_node& node) const { return computed_.contains(&node); }
  // Null when there is none of that name, with or without its module.
  const Operation* FindOperation(const std::string& name) const;

 private:
  void Learn(const Model& model, const lysc_node* siblings);
  void LearnLeaf(const Model& model, const lysc_node& node, const char* callpoint);
  void LearnOperations(const lysc_module& module);

  std::set<std::string> callpoints_;
  std::set<std::string> actionpoints_;
  std::set<const lysc_node*> computed_;
  std::unordered_map<const lysc_node*, std::vector<ComputedLeaf>> leaves_;
  // By what they mean: siblings that say the same share one.
  std::map<std::pair<const lysc_node*, std::string>, std::shared_ptr<const Condition>> conditions_;
  std::map<std::string, Operation> operations_;
};

}  // namespace agentd

#endif
