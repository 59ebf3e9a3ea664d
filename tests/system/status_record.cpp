#include "status_record.h"

#include <fmt/format.h>

#include <algorithm>
#include <regex>
#include <stdexcept>

namespace test {
namespace {

constexpr const char* kName = "[ -~]{1,43}";
constexpr const char* kMepId = "[1-9][0-9]{0,3}";
constexpr const char* kVlan = "[1-9][0-9]{0,3}";
constexpr const char* kRdi = "true|false";
constexpr const char* kInterfaceStatus =
    "up|down|testing|unknown|dormant|not-present|lower-layer-down";
constexpr const char* kPortStatus = "blocked|up|no-tlv";
constexpr const char* kMac = "([0-9a-f]{2}:){5}[0-9a-f]{2}";
constexpr const char* kFaultTime = "-|[0-9]+ms";
constexpr const char* kCount = "[0-9]{1,10}";

constexpr StatusLeaf kLocalLeaves[] = {
    {"md", false, kName},
    {"ma", false, kName},
    {"mep", false, kMepId},
    {"mac-address", false, kMac},
    {"tx-rdi", false, kRdi},
    {"defects", false, "-|(?=.)A?S?R?I?X?"},
    {"highest-priority-defect", false, "[-ASRIX]"},
    {"tx-interface-status-tlv", false, kInterfaceStatus},
    {"tx-port-status-tlv", false, kPortStatus},
    {"block-state", false, "Forwarding|Blocked|N/A"},
    {"level", true, "[0-7]"},
    {"ccm-interval", true, "1s|10s|1min|10min"},
    {"primary-vlan-id", true, kVlan},
    {"direction", true, "up|down"},
    {"interface", true, "[!-~]{1,63}"},
    {"fault-alarm-time", true, kFaultTime},
    {"fault-reset-time", true, kFaultTime},
    {"vlan-list", true, kVlan},
    {"remote-mep-ids", true, kMepId},
    {"mep-ccms-sent", true, kCount},
    {"mep-ccms-received", true, kCount},
    {"mep-ccm-sequence-errors", true, kCount},
};

constexpr StatusLeaf kRemoteLeaves[] = {
    {"md", false, kName},
    {"ma", false, kName},
    {"local-mep", false, kMepId},
    {"remote-mep", false, kMepId},
    {"mac-address", false, kMac},
    {"rx-rdi", false, kRdi},
    {"rx-interface-status-tlv", false, kInterfaceStatus},
    {"rx-port-status-tlv", false, kPortStatus},
    {"state", false, "rmep-(idle|start|failed|ok)"},
    {"rx-sender-id", false, "[ -~]*"},
    // The wire of a test is minutes old; an age that wraps around shows years.
    {"last-state-change", true, "([0-9]+h )?([0-9]+min )?([0-9]+s )?ago"},
    {"rmep-ccms-received", true, kCount},
};

const std::string* ValueOf(const Leaves& leaves, const char* name) {
  const auto found = leaves.find(name);
  return found != leaves.end() && found->second.size() == 1 ? &found->second.front() : nullptr;
}

bool Matches(const std::string& value, const char* pattern) {
  static std::map<const char*, std::regex> expressions;
  const auto found = expressions.try_emplace(pattern, pattern).first;
  return std::regex_match(value, found->second);
}

bool IsLeafList(const std::string& name) {
  return name == "vlan-list" || name == "remote-mep-ids";
}

}  // namespace

std::string ToText(const RecordIdentity& identity) {
  return fmt::format("{} MD '{}' MA '{}' MEP {}", identity.list, identity.md, identity.ma,
                     identity.mep);
}

std::optional<RecordIdentity> StatusRecord::Identity() const {
  const std::string* md = ValueOf(leaves, "md");
  const std::string* ma = ValueOf(leaves, "ma");
  const std::string* mep = ValueOf(leaves, list == "local" ? "mep" : "remote-mep");
  if (md == nullptr || ma == nullptr || mep == nullptr) {
    return std::nullopt;
  }
  return RecordIdentity{list, *md, *ma, std::stoi(*mep)};
}

std::span<const StatusLeaf> LeavesOf(const std::string& list) {
  return list == "local" ? std::span<const StatusLeaf>(kLocalLeaves)
                         : std::span<const StatusLeaf>(kRemoteLeaves);
}

const StatusLeaf& LeafNamed(const std::string& list, const std::string& name) {
  for (const StatusLeaf& leaf : LeavesOf(list)) {
    if (name == leaf.name) {
      return leaf;
    }
  }
  throw std::runtime_error(fmt::format("the list {} has no leaf {}", list, name));
}

void CheckValues(const StatusRecord& record) {
  for (const auto& [name, values] : record.leaves) {
    const StatusLeaf& leaf = LeafNamed(record.list, name);
    for (const std::string& value : values) {
      if (!Matches(value, leaf.pattern)) {
        throw std::runtime_error(fmt::format("{}[id={}]/{} is '{}', which its type forbids",
                                             record.list, record.id, name, value));
      }
    }
    const bool is_twice = std::ranges::adjacent_find(values) != values.end();
    if (is_twice || (!IsLeafList(name) && values.size() != 1)) {
      throw std::runtime_error(fmt::format("{}[id={}]/{} comes {} times: {}", record.list,
                                           record.id, name, values.size(),
                                           fmt::join(values, ", ")));
    }
  }
}

StatusRecord RecordOf(const cfm::agent::Node& entry) {
  StatusRecord record{.list = entry.name(), .id = {}, .leaves = {}};
  for (const cfm::agent::Node& child : entry.children()) {
    if (child.name() == "id") {
      record.id = child.value();
    } else {
      record.leaves[child.name()].push_back(child.value());
    }
  }
  for (auto& [name, values] : record.leaves) {
    std::ranges::sort(values);
  }
  return record;
}

std::vector<StatusRecord> RecordsIn(const cfm::agent::Node& node) {
  if (node.kind() == cfm::agent::Node::LIST_ENTRY) {
    return {RecordOf(node)};
  }
  std::vector<StatusRecord> records;
  for (const cfm::agent::Node& child : node.children()) {
    std::ranges::move(RecordsIn(child), std::back_inserter(records));
  }
  return records;
}

}  // namespace test
