#include "provider_model.h"

#include <stdexcept>

namespace agentd {
namespace {

// Text of the node's own `when`; null when it has none. The compiled form
// keeps no text, the parsed one does.
const char* WhenOf(const lysc_node& node) {
  const auto* parsed = static_cast<const lysp_node*>(node.priv);
  const bool is_leaf = node.nodetype == LYS_LEAF;
  const lysp_when* when = is_leaf ? reinterpret_cast<const lysp_node_leaf*>(parsed)->when
                                  : reinterpret_cast<const lysp_node_leaflist*>(parsed)->when;
  lysc_when* const* all = is_leaf ? reinterpret_cast<const lysc_node_leaf&>(node).when
                                  : reinterpret_cast<const lysc_node_leaflist&>(node).when;
  if (LY_ARRAY_COUNT(all) > (when != nullptr ? 1U : 0U)) {
    throw std::runtime_error("data model: '" + NameOf(node) +
                             "' inherits a when statement, which is beyond the agent");
  }
  return when != nullptr ? when->cond : nullptr;
}

const lysc_node* ListAround(const lysc_node& node) {
  const lysc_node* parent = node.parent;
  while (parent != nullptr && parent->nodetype != LYS_LIST) {
    parent = parent->parent;
  }
  return parent;
}

}  // namespace

ProviderModel::ProviderModel(const Model& model) {
  for (const lysc_module* module : model.Modules()) {
    Learn(model, module->data);
    LearnOperations(*module);
  }
}

void ProviderModel::Learn(const Model& model, const lysc_node* siblings) {
  for (const lysc_node* node = siblings; node != nullptr; node = node->next) {
    if (const char* callpoint = Annotation(node->exts, "callpoint")) {
      LearnLeaf(model, *node, callpoint);
    }
    Learn(model, lysc_node_child(node));
  }
}

void ProviderModel::LearnLeaf(const Model& model, const lysc_node& node, const char* callpoint) {
  const lysc_node* list = ListAround(node);
  const bool is_state = (node.flags & LYS_CONFIG_R) != 0;
  if ((node.nodetype & LYD_NODE_TERM) == 0 || list == nullptr || !is_state || IsKey(node)) {
    throw std::runtime_error("data model: the callpoint '" + std::string(callpoint) + "' of '" +
                             NameOf(node) + "' is not at a state leaf of a list entry");
  }
  std::shared_ptr<const Condition> condition;
  if (const char* when = WhenOf(node)) {
    auto& shared = conditions_[{node.parent, when}];
    shared = shared != nullptr ? shared : std::make_shared<const Condition>(model, node, when);
    condition = shared;
  }
  leaves_[list].push_back({&node, callpoint, std::move(condition)});
  callpoints_.insert(callpoint);
  computed_.insert(&node);
}

void ProviderModel::LearnOperations(const lysc_module& module) {
  for (const lysc_node_action* each = module.rpcs; each != nullptr; each = each->next) {
    const char* actionpoint = Annotation(each->exts, "actionpoint");
    const Operation operation{each, actionpoint != nullptr ? actionpoint : ""};
    if (actionpoint != nullptr) {
      actionpoints_.insert(actionpoint);
    }
    operations_[each->name] = operation;
    operations_[std::string(each->module->name) + ":" + each->name] = operation;
  }
}

std::vector<const lysc_node*> ProviderModel::Lists() const {
  std::vector<const lysc_node*> lists;
  for (const auto& [list, leaves] : leaves_) {
    lists.push_back(list);
  }
  return lists;
}

const std::vector<ComputedLeaf>& ProviderModel::LeavesOf(const lysc_node& list) const {
  static const std::vector<ComputedLeaf> kNone;
  const auto found = leaves_.find(&list);
  return found != leaves_.end() ? found->second : kNone;
}

const Operation* ProviderModel::FindOperation(const std::string& name) const {
  const auto found = operations_.find(name);
  return found != operations_.end() ? &found->second : nullptr;
}

}  // namespace agentd
