#include "status_model.h"

#include <algorithm>

namespace cfmctl {
namespace {

using enum LeafType;
using enum LeafOrigin;

constexpr std::string_view kRdi[] = {"false", "true"};
constexpr std::string_view kInterfaceStatus[] = {
    "up", "down", "testing", "unknown", "dormant", "not-present", "lower-layer-down", "invalid"};
constexpr std::string_view kPortStatus[] = {"blocked", "up", "no-tlv", "invalid"};
constexpr std::string_view kIntervals[] = {"1s", "10s", "1min", "10min"};
constexpr std::string_view kDirections[] = {"up", "down"};
constexpr std::string_view kStates[] = {"rmep-idle", "rmep-start", "rmep-failed", "rmep-ok"};

constexpr StatusLeaf kLocal[] = {
    {"id", kLongNumber, kIdentity, {}},
    {"md", kText, kIdentity, {}},
    {"ma", kText, kIdentity, {}},
    {"mep", kNumber, kIdentity, {}},
    {"mac-address", kText, kWritten, {}},
    {"tx-rdi", kEnumeration, kWritten, kRdi},
    {"defects", kText, kWritten, {}},
    {"highest-priority-defect", kText, kWritten, {}},
    {"tx-interface-status-tlv", kEnumeration, kWritten, kInterfaceStatus},
    {"tx-port-status-tlv", kEnumeration, kWritten, kPortStatus},
    {"block-state", kText, kWritten, {}},
    {"level", kNumber, kComputed, {}},
    {"ccm-interval", kEnumeration, kComputed, kIntervals},
    {"primary-vlan-id", kNumber, kComputed, {}},
    {"direction", kEnumeration, kComputed, kDirections},
    {"interface", kText, kComputed, {}},
    {"fault-alarm-time", kText, kComputed, {}},
    {"fault-reset-time", kText, kComputed, {}},
    {"vlan-list", kNumber, kComputed, {}, true},
    {"remote-mep-ids", kNumber, kComputed, {}, true},
    {"mep-ccms-sent", kLongNumber, kStatistics, {}},
    {"mep-ccms-received", kLongNumber, kStatistics, {}},
    {"mep-ccm-sequence-errors", kNumber, kStatistics, {}},
};

constexpr StatusLeaf kRemote[] = {
    {"id", kLongNumber, kIdentity, {}},
    {"md", kText, kIdentity, {}},
    {"ma", kText, kIdentity, {}},
    {"local-mep", kNumber, kIdentity, {}},
    {"remote-mep", kNumber, kIdentity, {}},
    {"mac-address", kText, kWritten, {}},
    {"rx-rdi", kEnumeration, kWritten, kRdi},
    {"rx-interface-status-tlv", kEnumeration, kWritten, kInterfaceStatus},
    {"rx-port-status-tlv", kEnumeration, kWritten, kPortStatus},
    {"state", kEnumeration, kWritten, kStates},
    {"rx-sender-id", kText, kWritten, {}},
    {"last-state-change", kText, kComputed, {}},
    {"rmep-ccms-received", kNumber, kStatistics, {}},
};

constexpr StatusList kLists[] = {{"local", kLocal}, {"remote", kRemote}};

}  // namespace

std::span<const StatusList> StatusModel() {
  return kLists;
}

const StatusList* FindStatusList(std::string_view list) {
  const auto found = std::ranges::find(kLists, list, &StatusList::name);
  return found == std::end(kLists) ? nullptr : &*found;
}

const StatusLeaf* FindStatusLeaf(std::string_view list, std::string_view leaf) {
  const StatusList* const found = FindStatusList(list);
  if (found == nullptr) {
    return nullptr;
  }
  const auto at = std::ranges::find(found->leaves, leaf, &StatusLeaf::name);
  return at == found->leaves.end() ? nullptr : &*at;
}

}  // namespace cfmctl
