#include "data_nodes.h"

#include <confd_lib.h>

#include "values.h"

namespace agentd {

void DataNodes::Head(const lyd_node& node, DataNode& out) const {
  out.set_name(node.schema->name);
  out.set_tag(model_.TagOf(*node.schema));
  for (const lyd_node* key = lyd_child(&node);
       node.schema->nodetype == LYS_LIST && key != nullptr && lysc_is_key(key->schema);
       key = key->next) {
    *out.add_keys() = ValueOf(model_, *key);
  }
}

void DataNodes::Own(const lyd_node& node, DataNode& out, const OnContainer& on_container) const {
  out.set_coverage(DataNode::OWN_NODES);
  Children(node, out, [&](const lyd_node& container, DataNode& child) {
    if (!on_container(container, child)) {
      Head(container, child);
      Own(container, child, on_container);
    }
  });
  for (const lysc_node* list = lysc_node_child(node.schema); list != nullptr; list = list->next) {
    if (list->nodetype == LYS_LIST) {
      auto* size = out.add_list_sizes();
      size->set_name(list->name);
      size->set_entries(static_cast<std::uint32_t>(state_.Entries(&node, *list).size()));
    }
  }
}

void DataNodes::Whole(const lyd_node& node, DataNode& out) const {
  Head(node, out);
  out.set_coverage(DataNode::EVERYTHING);
  Children(node, out, [&](const lyd_node& container, DataNode& child) { Whole(container, child); });
  const lysc_node* list = nullptr;
  std::uint32_t position = 0;
  for (const lyd_node* child = lyd_child(&node); child != nullptr; child = child->next) {
    if (child->schema->nodetype == LYS_LIST) {
      position = child->schema == list ? position + 1 : 0;
      list = child->schema;
      DataNode& entry = *out.add_children();
      Whole(*child, entry);
      entry.set_position(position);
    }
  }
}

// Leaves, leaf-lists and containers; `inner` fills a container.
template <typename Inner>
void DataNodes::Children(const lyd_node& node, DataNode& out, const Inner& inner) const {
  DataNode* leaf_list = nullptr;
  const lysc_node* leaf_list_schema = nullptr;
  for (const lyd_node* child = lyd_child(&node); child != nullptr; child = child->next) {
    if (child->schema->nodetype == LYS_LIST) {
      // Thousands, perhaps: on to the last of them.
      child = state_.Entries(&node, *child->schema).back();
    } else if (child->schema->nodetype == LYS_CONTAINER) {
      inner(*child, *out.add_children());
    } else if (child->schema->nodetype == LYS_LEAF) {
      DataNode& leaf = *out.add_children();
      Head(*child, leaf);
      *leaf.mutable_value() = ValueOf(model_, *child);
    } else if (child->schema->nodetype == LYS_LEAFLIST) {
      if (child->schema != leaf_list_schema) {
        leaf_list_schema = child->schema;
        leaf_list = out.add_children();
        Head(*child, *leaf_list);
        leaf_list->mutable_value()->set_type(C_LIST);
      }
      *leaf_list->mutable_value()->add_list() = ValueOf(model_, *child);
    }
  }
}

}  // namespace agentd
