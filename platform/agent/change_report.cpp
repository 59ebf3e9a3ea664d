#include "change_report.h"

#include <confd_cdb.h>

#include "diff_tree.h"
#include "values.h"

namespace agentd {
namespace {

using pb::Change;

class Reporter {
 public:
  explicit Reporter(const Model& model) : model_(model) {}

  void Siblings(const lyd_node* first, DiffOp inherited, Change& parent) {
    for (const lyd_node* node = first; node != nullptr; node = node->next) {
      const DiffOp op = OperationOf(*node, inherited);
      // Part of what its parent's creation means already.
      const bool implied = inherited == DiffOp::kCreate && !IsExplicit(*node);
      if (implied || lysc_is_key(node->schema)) {
        continue;
      }
      Change change;
      change.set_tag(model_.TagOf(*node->schema));
      if (Describe(*node, op, change)) {
        *parent.add_children() = std::move(change);
      }
    }
  }

 private:
  // False when there is nothing to report.
  bool Describe(const lyd_node& node, DiffOp op, Change& change) {
    switch (node.schema->nodetype) {
      case LYS_LEAF:
        return IsEmptyLeaf(*node.schema) ? Existence(op, change) : Leaf(node, op, change);
      case LYS_LEAFLIST:
        *change.mutable_element() = ValueOf(model_, node);
        return Existence(op, change);
      case LYS_LIST:
        for (const lyd_node* key = lyd_child(&node); key != nullptr && lysc_is_key(key->schema);
             key = key->next) {
          *change.add_keys() = ValueOf(model_, *key);
        }
        return Inner(node, op, change);
      default:
        return Inner(node, op, change);
    }
  }

  static bool Existence(DiffOp op, Change& change) {
    if (op == DiffOp::kCreate || op == DiffOp::kDelete) {
      change.set_op(op == DiffOp::kCreate ? MOP_CREATED : MOP_DELETED);
      return true;
    }
    return false;
  }

  // A leaf with a default is never gone: without a value of its own it has
  // the default, and both trees hold that.
  bool Leaf(const lyd_node& node, DiffOp op, Change& change) {
    if (op == DiffOp::kNone) {
      return false;  // an explicit default became an implicit one, or back
    }
    if (op == DiffOp::kDelete) {
      change.set_op(MOP_DELETED);
      *change.mutable_old_value() = ValueOf(model_, node);
      return true;
    }
    change.set_op(MOP_VALUE_SET);
    *change.mutable_new_value() = ValueOf(model_, node);
    if (op == DiffOp::kReplace) {
      *change.mutable_old_value() = ValueOfText(model_, node, OriginalValue(node));
    }
    return true;
  }

  bool Inner(const lyd_node& node, DiffOp op, Change& change) {
    const bool is_thing = node.schema->nodetype == LYS_LIST || IsPresenceContainer(*node.schema);
    if (is_thing && Existence(op, change) && op == DiffOp::kDelete) {
      return true;
    }
    Siblings(lyd_child(&node), op, change);
    if (is_thing && op == DiffOp::kNone && change.children_size() > 0) {
      change.set_op(MOP_MODIFIED);
    }
    return change.op() != 0 || change.children_size() > 0;
  }

  const Model& model_;
};

bool HasKeys(const Change& change, const PathStep& step) {
  if (step.keys.empty()) {
    return true;
  }
  std::vector<std::string> keys;
  if (change.has_element()) {
    const auto text = TextOf(*step.schema, change.element());
    keys.push_back(text ? *text : "");
  } else if (const auto schemas = KeysOf(*step.schema);
             schemas.size() == static_cast<std::size_t>(change.keys_size())) {
    for (std::size_t i = 0; i < schemas.size(); ++i) {
      const auto text = TextOf(*schemas[i], change.keys(static_cast<int>(i)));
      keys.push_back(text ? *text : "");
    }
  }
  return keys == step.keys;
}

bool TouchesFrom(const Model& model, const Change& parent, const InstancePath& point,
                 std::size_t depth) {
  if (depth == point.size()) {
    return true;
  }
  const std::uint32_t tag = model.TagOf(*point[depth].schema);
  for (const Change& change : parent.children()) {
    if (change.tag() == tag && HasKeys(change, point[depth]) &&
        TouchesFrom(model, change, point, depth + 1)) {
      return true;
    }
  }
  return false;
}

}  // namespace

Change ReportChanges(const Model& model, const lyd_node* diff) {
  Change root;
  Reporter(model).Siblings(diff, DiffOp::kNone, root);
  return root;
}

bool Touches(const Model& model, const Change& report, const InstancePath& point) {
  return TouchesFrom(model, report, point, 0);
}

}  // namespace agentd
