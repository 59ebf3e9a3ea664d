#include "operational_tree.h"

#include <algorithm>

#include "nodes.h"
#include "read_scope.h"

namespace agentd {
namespace {

using cfm::agent::Node;

bool SameKeys(const PathStep& left, const PathStep& right) {
  return left.schema == right.schema && left.keys == right.keys;
}

// Where the leaf stands in the entry; null when nothing was written there.
const OperationalNode* PlaceOf(const OperationalEntry& entry, const lysc_node& leaf) {
  if (leaf.parent == nullptr || leaf.parent->nodetype == LYS_LIST) {
    return &entry;
  }
  const OperationalNode* outer = PlaceOf(entry, *leaf.parent);
  return outer != nullptr ? outer->Container(*leaf.parent) : nullptr;
}

void AddLeaf(const lysc_node& schema, const std::string& text, Node& out) {
  Node& leaf = *out.add_children();
  leaf.set_kind(Node::LEAF);
  leaf.set_name(schema.name);
  leaf.set_value(text);
}

// In the order of the model.
void Fill(const OperationalNode& node, const lysc_node& schema, Node& out) {
  for (const lysc_node* child = lysc_node_child(&schema); child != nullptr; child = child->next) {
    const auto leaf = node.leaves.find(child);
    if (leaf != node.leaves.end()) {
      AddLeaf(*child, leaf->second, out);
    } else if (const OperationalNode* inner = node.Container(*child)) {
      Node& container = *out.add_children();
      container.set_kind(Node::CONTAINER);
      container.set_name(child->name);
      Fill(*inner, *child, container);
    }
  }
}

}  // namespace

OperationalTree::OperationalTree(const InstancePath& path, const ReadScope& scope) : scope_(scope) {
  const auto end = std::find_if(path.begin(), path.end(), [](const PathStep& step) {
    return step.schema->nodetype != LYS_CONTAINER;
  });
  if (end != path.begin()) {
    FindOrMake(tree_, {path.begin(), end}, "");
  }
}

lyd_node* OperationalTree::ParentOf(const OperationalEntry& entry) {
  const auto end = entry.path.end() - 1;
  const bool is_same =
      parent_ != nullptr &&
      std::equal(entry.path.begin(), end, parent_path_.begin(), parent_path_.end(), SameKeys);
  if (!is_same) {
    parent_path_ = {entry.path.begin(), end};
    parent_ = FindOrMake(tree_, parent_path_, "");
  }
  return parent_;
}

void OperationalTree::AddWritten(const OperationalNode& written, lyd_node* node) {
  for (const auto& [schema, text] : written.leaves) {
    if (scope_.Wants(*schema)) {
      Make(tree_, node, {schema, {}, {}, false}, text.c_str());
    }
  }
  for (const auto& [schema, inner] : written.containers) {
    AddWritten(*inner, Make(tree_, node, {schema, {}, {}, false}, ""));
  }
}

void OperationalTree::Add(const OperationalEntry& entry, const ComputedValues& computed) {
  lyd_node* node = Make(tree_, ParentOf(entry), entry.path.back(), "");
  AddWritten(entry, node);
  for (const auto& [schema, text] : computed) {
    lyd_node* parent = node;
    std::vector<const lysc_node*> way;
    for (const lysc_node* up = schema->parent; up != &entry.Schema(); up = up->parent) {
      way.push_back(up);
    }
    for (auto step = way.rbegin(); step != way.rend(); ++step) {
      const PathStep container{*step, {}, {}, false};
      lyd_node* found = FindChild(nullptr, parent, container);
      parent = found != nullptr ? found : Make(tree_, parent, container, "");
    }
    Make(tree_, parent, {schema, {text}, {}, false}, text.c_str());
  }
}

const std::string* WrittenText(const OperationalEntry& entry, const lysc_node& leaf) {
  if (IsKey(leaf)) {
    const auto keys = KeysOf(entry.Schema());
    const auto found = std::find(keys.begin(), keys.end(), &leaf);
    return found != keys.end() ? &entry.Keys()[static_cast<std::size_t>(found - keys.begin())]
                               : nullptr;
  }
  const OperationalNode* place = PlaceOf(entry, leaf);
  if (place == nullptr) {
    return nullptr;
  }
  const auto found = place->leaves.find(&leaf);
  return found != place->leaves.end() ? &found->second : nullptr;
}

cfm::agent::Node NodeOf(const OperationalEntry& entry) {
  Node out;
  out.set_kind(Node::LIST_ENTRY);
  out.set_name(entry.Schema().name);
  const auto keys = KeysOf(entry.Schema());
  for (std::size_t i = 0; i < keys.size(); ++i) {
    AddLeaf(*keys[i], entry.Keys()[i], out);
  }
  Fill(entry, entry.Schema(), out);
  return out;
}

}  // namespace agentd
