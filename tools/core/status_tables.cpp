#include "status_tables.h"

#include <algorithm>
#include <array>
#include <span>

#include "defects.h"
#include "escape.h"
#include "text_table.h"

namespace cfmctl {
namespace {

constexpr std::string_view kNone = "-";

std::string Text(const std::string& value) {
  return value;
}

struct Column {
  std::string_view title;
  std::string_view leaf;
  std::string (*cell)(const std::string& value) = Text;
};

constexpr Column kLocalStatus[] = {
    {"MD", "md"},
    {"MA", "ma"},
    {"MEP", "mep"},
    {"INTERFACE", "interface"},
    {"DIRECTION", "direction"},
    {"LEVEL", "level"},
    {"INTERVAL", "ccm-interval"},
    {"VLAN", "primary-vlan-id"},
    {"MAC-ADDRESS", "mac-address"},
    {"TX-RDI", "tx-rdi"},
    {"TX-INTERFACE", "tx-interface-status-tlv"},
    {"TX-PORT", "tx-port-status-tlv"},
    {"BLOCK-STATE", "block-state"},
    {"HIGHEST", "highest-priority-defect"},
    {"DEFECTS", "defects", WithMeaning},
};

constexpr Column kRemoteStatus[] = {
    {"MD", "md"},
    {"MA", "ma"},
    {"LOCAL-MEP", "local-mep"},
    {"REMOTE-MEP", "remote-mep"},
    {"STATE", "state"},
    {"LAST-CHANGE", "last-state-change"},
    {"MAC-ADDRESS", "mac-address"},
    {"RX-RDI", "rx-rdi"},
    {"RX-INTERFACE", "rx-interface-status-tlv"},
    {"RX-PORT", "rx-port-status-tlv"},
    {"SENDER-ID", "rx-sender-id"},
};

constexpr Column kLocalStatistics[] = {
    {"MD", "md"},
    {"MA", "ma"},
    {"MEP", "mep"},
    {"CCMS-SENT", "mep-ccms-sent"},
    {"CCMS-RECEIVED", "mep-ccms-received"},
    {"SEQUENCE-ERRORS", "mep-ccm-sequence-errors"},
};

constexpr Column kRemoteStatistics[] = {
    {"MD", "md"},
    {"MA", "ma"},
    {"LOCAL-MEP", "local-mep"},
    {"REMOTE-MEP", "remote-mep"},
    {"CCMS-RECEIVED", "rmep-ccms-received"},
};

std::vector<const TreeNode*> Sorted(const StatusRecords& records, std::string_view list) {
  std::vector<const TreeNode*> sorted;
  for (const TreeNode& record : records) {
    if (record.name == list) {
      sorted.push_back(&record);
    }
  }
  std::ranges::stable_sort(
      sorted, {}, [](const TreeNode* record) { return NameOfRecord(*record).value_or(MepName()); });
  return sorted;
}

std::string Table(const StatusRecords& records, std::string_view list,
                  std::span<const Column> columns) {
  Row header;
  for (const Column& column : columns) {
    header.emplace_back(column.title);
  }
  std::vector<Row> rows;
  for (const TreeNode* record : Sorted(records, list)) {
    rows.emplace_back();
    for (const Column& column : columns) {
      const auto value = ChildValue(*record, column.leaf);
      rows.back().push_back(value ? Visible(column.cell(*value)) : std::string(kNone));
    }
  }
  return RenderTable(header, rows);
}

// The tables of local and of remote MEPs.
std::array<std::span<const Column>, 2> ColumnsOf(StatusView view) {
  if (view == StatusView::kStatus) {
    return {kLocalStatus, kRemoteStatus};
  }
  return {kLocalStatistics, kRemoteStatistics};
}

}  // namespace

std::string StatusTables(const StatusRecords& records, StatusView view) {
  const auto columns = ColumnsOf(view);
  const std::string local = Table(records, "local", columns[0]);
  const std::string remote = Table(records, "remote", columns[1]);
  return local + (local.empty() || remote.empty() ? "" : "\n") + remote;
}

std::vector<std::string> TableLeaves(StatusView view) {
  std::vector<std::string> names;
  for (const auto columns : ColumnsOf(view)) {
    for (const Column& column : columns) {
      names.emplace_back(column.leaf);
    }
  }
  return names;
}

}  // namespace cfmctl
