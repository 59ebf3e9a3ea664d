#include "excerpt.h"

namespace agentd {

using cfm::agent::DataNode;

void Excerpt::Add(const lyd_node& node) {
  const lyd_node* entry = &node;
  while ((entry->schema->nodetype & LYD_NODE_TERM) != 0 && lyd_parent(entry) != nullptr) {
    entry = lyd_parent(entry);
  }
  PlaceOf(*entry);
}

DataNode& Excerpt::PlaceOf(const lyd_node& node) {
  if (const auto found = places_.find(&node); found != places_.end()) {
    return *found->second;
  }
  const lyd_node* parent = lyd_parent(&node);
  DataNode* place = nullptr;
  if (parent == nullptr) {
    place = trees_.Add();
  } else {
    DataNode& around = PlaceOf(*parent);
    if (const auto found = places_.find(&node); found != places_.end()) {
      return *found->second;  // a container of its parent's own
    }
    around.set_coverage(DataNode::SOME_ENTRIES);
    place = around.add_children();
  }
  places_.emplace(&node, place);
  nodes_.Head(node, *place);
  nodes_.Own(node, *place, [this](const lyd_node& container, DataNode& out) {
    places_.emplace(&container, &out);
    return false;
  });
  return *place;
}

}  // namespace agentd
