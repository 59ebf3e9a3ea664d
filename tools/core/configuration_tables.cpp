#include "configuration_tables.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <array>

#include "text_table.h"
#include "tree_location.h"

namespace cfmctl {
namespace {

constexpr std::string_view kNone = "-";

std::string Text(const TreeNode& entry, std::string_view leaf) {
  const std::vector<std::string> values = ChildValues(entry, leaf);
  return values.empty() ? std::string(kNone) : fmt::format("{}", fmt::join(values, ","));
}

std::string Presence(const TreeNode& entry, std::string_view leaf) {
  return FindChild(entry, leaf) == nullptr ? "no" : "yes";
}

using Cell = std::string (*)(const TreeNode& entry, std::string_view leaf);

struct Column {
  std::string_view title;
  std::string_view container;  // between the entry and the leaf; may be empty
  std::string_view leaf;
  Cell cell;
};

constexpr std::string_view kContinuityCheck = "continuity-check";

constexpr Column kMdColumns[] = {
    {"MD", "", "id", Text},
    {"LEVEL", "", "level", Text},
};

constexpr Column kMaColumns[] = {
    {"MA", "", "id", Text},
    {"CCM-INTERVAL", "", "ccm-interval", Text},
    {"PRIMARY-VLAN", "", "primary-vlan-id", Text},
    {"VLAN-LIST", "", "vlan-list", Text},
    {"REMOTE-MEPS", "", "remote-meps", Text},
};

constexpr Column kMepColumns[] = {
    {"MEP", "", "id", Text},
    {"INTERFACE", "", "interface", Text},
    {"DIRECTION", "", "direction", Text},
    {"PRIMARY-VLAN", "", "primary-vlan-id", Text},
    {"CONTINUITY-CHECK", "", kContinuityCheck, Presence},
    {"CCI", kContinuityCheck, "cci-enabled", Presence},
    {"LOWEST-DEFECT", kContinuityCheck, "lowest-fault-priority-defect", Text},
    {"ALARM-TIME", kContinuityCheck, "fault-alarm-time", Text},
    {"RESET-TIME", kContinuityCheck, "fault-reset-time", Text},
    {"FAULT-ACTION", kContinuityCheck, "fault-action", Text},
};

// The lists of the model, each below the one before.
struct List {
  std::string_view name;
  std::span<const Column> columns;
};

constexpr List kLists[] = {{"md", kMdColumns}, {"ma", kMaColumns}, {"mep", kMepColumns}};
constexpr std::size_t kListCount = std::size(kLists);

class Collector {
 public:
  // The entries that the path names come first in every row below them.
  explicit Collector(const Path& path) {
    for (const PathStep& step : path.steps) {
      if (step.key && DepthOf(step.name) < kListCount) {
        keys_[DepthOf(step.name)] = *step.key;
      }
    }
  }

  void Collect(const TreeNode& node) {
    const std::size_t depth = DepthOf(node.name);
    if (depth < kListCount && node.kind == TreeNode::Kind::kListEntry) {
      AddRow(node, depth);
    }
    for (const TreeNode& child : node.children) {
      Collect(child);
    }
  }

  std::string Render() const {
    std::string text;
    for (std::size_t depth = 0; depth < kListCount; ++depth) {
      const std::string table = RenderTable(Header(depth), rows_[depth]);
      text += (text.empty() || table.empty() ? "" : "\n") + table;
    }
    return text;
  }

 private:
  static std::size_t DepthOf(std::string_view name) {
    std::size_t depth = 0;
    while (depth < kListCount && kLists[depth].name != name) {
      ++depth;
    }
    return depth;
  }

  static Row Header(std::size_t depth) {
    Row header;
    for (std::size_t above = 0; above < depth; ++above) {
      header.emplace_back(kLists[above].columns.front().title);
    }
    for (const Column& column : kLists[depth].columns) {
      header.emplace_back(column.title);
    }
    return header;
  }

  void AddRow(const TreeNode& entry, std::size_t depth) {
    keys_[depth] = ChildValue(entry, "id").value_or(std::string(kNone));
    Row row(keys_.begin(), keys_.begin() + static_cast<long>(depth));
    for (const Column& column : kLists[depth].columns) {
      static const TreeNode kNothing;
      const TreeNode* const inner =
          column.container.empty() ? &entry : FindChild(entry, column.container);
      row.push_back(column.cell(inner == nullptr ? kNothing : *inner, column.leaf));
    }
    rows_[depth].push_back(std::move(row));
  }

  std::array<std::string, kListCount> keys_;
  std::array<std::vector<Row>, kListCount> rows_;
};

void AddLeaves(const TreeNode& node, std::vector<Row>& rows) {
  const bool is_leaf =
      node.kind == TreeNode::Kind::kLeaf || node.kind == TreeNode::Kind::kLeafListElement;
  if (is_leaf) {
    rows.push_back({node.name, node.value.empty() ? "present" : node.value});
  } else if (node.children.empty()) {
    rows.push_back({node.name, "present"});
  }
  for (const TreeNode& child : node.children) {
    AddLeaves(child, rows);
  }
}

std::string LeafTable(const std::vector<const TreeNode*>& nodes) {
  std::vector<Row> rows;
  for (const TreeNode* node : nodes) {
    AddLeaves(*node, rows);
  }
  return RenderTable({"NODE", "VALUE"}, rows);
}

}  // namespace

std::string ConfigurationTables(const TreeNode& top, const Path& path) {
  const std::vector<const TreeNode*> nodes = NodesAt(top, path);
  const bool has_lists =
      path.node->kind == NodeKind::kContainer || path.node->kind == NodeKind::kList;
  if (!has_lists) {
    return LeafTable(nodes);
  }
  Collector collector(path);
  for (const TreeNode* node : nodes) {
    collector.Collect(*node);
  }
  return collector.Render();
}

}  // namespace cfmctl
