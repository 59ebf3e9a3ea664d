#include "keypath.h"

#include "typed_value.h"

namespace agentd {
namespace {

using cfm::agent::Keypath;

void AddNode(const Model& model, const lysc_node& node, Keypath& keypath) {
  keypath.add_elements()->set_tag(model.TagOf(node));
}

void AddKeys(const Model& model, const PathStep& step, Keypath& keypath) {
  auto& element = *keypath.add_elements();
  const auto keys = KeysOf(*step.schema);
  for (std::size_t i = 0; i < keys.size(); ++i) {
    *element.add_keys() = ValueOfCanonical(model, *keys[i], step.keys[i]);
  }
}

}  // namespace

Keypath KeypathOf(const Model& model, const OperationalEntry& entry, const lysc_node& leaf) {
  Keypath keypath;
  for (const lysc_node* node = &leaf; node != &entry.Schema(); node = node->parent) {
    AddNode(model, *node, keypath);
  }
  for (auto step = entry.path.rbegin(); step != entry.path.rend(); ++step) {
    if (step->schema->nodetype == LYS_LIST) {
      AddKeys(model, *step, keypath);
    }
    AddNode(model, *step->schema, keypath);
  }
  return keypath;
}

}  // namespace agentd
