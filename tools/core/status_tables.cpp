#include "status_tables.h"

#include <algorithm>
#include <span>

#include "defects.h"
#include "text_table.h"

namespace cfmctl {
namespace {

constexpr std::string_view kNone = "-";

std::string Text(const std::string& value) {
  return value.empty() ? std::string(kNone) : value;
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
      rows.back().push_back(Text(column.cell(ChildValue(*record, column.leaf).value_or(""))));
    }
  }
  return RenderTable(header, rows);
}

}  // namespace

std::string StatusTables(const StatusRecords& records, StatusView view) {
  const bool is_status = view == StatusView::kStatus;
  const std::string local =
      is_status ? Table(records, "local", kLocalStatus) : Table(records, "local", kLocalStatistics);
  const std::string remote = is_status ? Table(records, "remote", kRemoteStatus)
                                       : Table(records, "remote", kRemoteStatistics);
  return local + (local.empty() || remote.empty() ? "" : "\n") + remote;
}

}  // namespace cfmctl
