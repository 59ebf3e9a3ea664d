#include "difference.h"

#include "change_report.h"
#include "diff_tree.h"
#include "instance_path.h"

namespace agentd {
namespace {

using cfm::agent::DiffLine;

const lyd_node* Children(const lyd_node& node) {
  return lyd_child_no_keys(&node);
}

bool IsTerm(const lyd_node& node) {
  return (node.schema->nodetype & LYD_NODE_TERM) != 0;
}

// What is worth a row or a line of its own, apart from leaves.
bool IsThing(const lyd_node& node) {
  return node.schema->nodetype == LYS_LIST || IsPresenceContainer(*node.schema);
}

std::string ValueText(const lyd_node& node) {
  return IsTerm(node) ? lyd_get_value(&node) : "";
}

class LineWriter {
 public:
  void Walk(const lyd_node* siblings, const std::string& above, DiffOp inherited) {
    for (const lyd_node* node = siblings; node != nullptr; node = node->next) {
      const DiffOp op = OperationOf(*node, inherited);
      const std::string path = above + StepText(*node);
      const bool implied = op == inherited && op != DiffOp::kNone && !IsExplicit(*node);
      if (!implied && (IsTerm(*node) || IsThing(*node))) {
        Write(*node, op, path);
      }
      Walk(Children(*node), path, op);
    }
  }
  std::vector<DiffLine> lines;

 private:
  void Write(const lyd_node& node, DiffOp op, const std::string& path) {
    if (op == DiffOp::kNone) {
      return;
    }
    DiffLine& line = lines.emplace_back();
    line.set_path(path);
    if (op == DiffOp::kReplace) {
      line.set_kind(DiffLine::CHANGED);
      line.set_old_value(OriginalValue(node));
      line.set_new_value(ValueText(node));
    } else if (op == DiffOp::kCreate) {
      line.set_kind(DiffLine::ADDED);
      line.set_new_value(ValueText(node));
    } else {
      line.set_kind(DiffLine::REMOVED);
      line.set_old_value(ValueText(node));
    }
  }
};

class RowWriter {
 public:
  void Walk(const lyd_node* siblings, const std::string& above, DiffOp inherited) {
    for (const lyd_node* node = siblings; node != nullptr; node = node->next) {
      const DiffOp op = OperationOf(*node, inherited);
      const std::string path = above + StepText(*node);
      if (op == DiffOp::kDelete) {
        const bool is_term = IsTerm(*node);
        rows.push_back(
            {is_term ? RowChange::Kind::kDrop : RowChange::Kind::kDropSubtree, path, {}});
        continue;
      }
      Write(*node, op, path);
      Walk(Children(*node), path, op);
    }
  }
  std::vector<RowChange> rows;

 private:
  void Write(const lyd_node& node, DiffOp op, const std::string& path) {
    const bool said = IsExplicit(node) && (IsTerm(node) || IsThing(node));
    if (op == DiffOp::kCreate && said) {
      rows.push_back({RowChange::Kind::kPut, path, ValueText(node)});
    } else if (IsTerm(node) && (op == DiffOp::kReplace || op == DiffOp::kNone)) {
      // The default flag may be all that changes: the row comes or goes.
      rows.push_back({said ? RowChange::Kind::kPut : RowChange::Kind::kDrop, path,
                      said ? ValueText(node) : ""});
    }
  }
};

}  // namespace

Difference::Difference(const Model& model, const lyd_node* before, const lyd_node* after)
    : model_(model) {
  lyd_node* diff = nullptr;
  CheckYang(lyd_diff_siblings(before, after, LYD_DIFF_DEFAULTS, &diff), model.Context(),
            "compare two configurations");
  diff_.reset(diff);
}

cfm::agent::Change Difference::Changes() const {
  return ReportChanges(model_, diff_.get());
}

std::vector<DiffLine> Difference::Lines() const {
  LineWriter writer;
  writer.Walk(diff_.get(), "", DiffOp::kNone);
  return std::move(writer.lines);
}

std::vector<RowChange> Difference::Rows() const {
  RowWriter writer;
  writer.Walk(diff_.get(), "", DiffOp::kNone);
  return std::move(writer.rows);
}

}  // namespace agentd
