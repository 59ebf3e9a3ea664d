#include "confd/data_tree.h"

#include <map>

namespace test {

using cfm::agent::Change;
using cfm::agent::DataNode;
using cfm::agent::Value;

Value Text(const std::string& text) {
  Value value;
  value.set_type(C_BUF);
  value.set_text(text);
  return value;
}

Value Number(std::uint32_t type, std::int64_t number) {
  Value value;
  value.set_type(type);
  value.set_number(number);
  return value;
}

Value Int32(std::int32_t number) {
  return Number(C_INT32, number);
}

Value List(const std::vector<Value>& elements) {
  Value value;
  value.set_type(C_LIST);
  value.mutable_list()->Assign(elements.begin(), elements.end());
  return value;
}

DataNode Leaf(const std::string& name, const Value& value) {
  DataNode node;
  node.set_name(name);
  *node.mutable_value() = value;
  return node;
}

DataNode Container(const std::string& name, const Nodes& children) {
  DataNode node;
  node.set_name(name);
  std::map<std::string, std::uint32_t> positions;
  for (const DataNode& child : children) {
    DataNode& added = *node.add_children();
    added = child;
    if (child.keys_size() > 0) {
      added.set_position(positions[child.name()]++);
    }
  }
  return node;
}

DataNode Entry(const std::string& name, const std::vector<Value>& keys, const Nodes& children) {
  DataNode node = Container(name, children);
  node.mutable_keys()->Assign(keys.begin(), keys.end());
  return node;
}

Change Changed(std::uint32_t tag, std::uint32_t op, const Changes& children) {
  Change change;
  change.set_tag(tag);
  change.set_op(op);
  change.mutable_children()->Assign(children.begin(), children.end());
  return change;
}

Change ChangedEntry(std::uint32_t tag, const std::vector<Value>& keys, std::uint32_t op,
                    const Changes& children) {
  Change change = Changed(tag, op, children);
  change.mutable_keys()->Assign(keys.begin(), keys.end());
  return change;
}

Change ChangedElement(std::uint32_t tag, const Value& element, std::uint32_t op) {
  Change change = Changed(tag, op);
  *change.mutable_element() = element;
  return change;
}

Change ChangedLeaf(std::uint32_t tag, std::uint32_t op, const Value* old_value,
                   const Value* new_value) {
  Change change = Changed(tag, op);
  if (old_value != nullptr) {
    *change.mutable_old_value() = *old_value;
  }
  if (new_value != nullptr) {
    *change.mutable_new_value() = *new_value;
  }
  return change;
}

}  // namespace test
