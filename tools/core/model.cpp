#include "model.h"

#include <algorithm>

namespace cfmctl {
namespace {

using enum NodeKind;

constexpr std::string_view kIntervals[] = {"1s", "10s", "1min", "10min"};
constexpr std::string_view kDirections[] = {"up", "down"};
constexpr std::string_view kDefects[] = {"all-def", "mac-rem-err-xcon", "rem-err-xcon", "err-xcon",
                                         "xcon"};
constexpr std::string_view kFaultActions[] = {"none", "block"};

constexpr ModelNode kContinuityCheck[] = {
    {"cci-enabled", kEmptyLeaf, {}, {}},
    {"lowest-fault-priority-defect", kLeaf, {}, kDefects},
    {"fault-alarm-time", kLeaf, {}, {}},
    {"fault-reset-time", kLeaf, {}, {}},
    {"fault-action", kLeaf, {}, kFaultActions},
};

constexpr ModelNode kMep[] = {
    {"id", kLeaf, {}, {}},
    {"interface", kLeaf, {}, {}},
    {"direction", kLeaf, {}, kDirections},
    {"primary-vlan-id", kLeaf, {}, {}},
    {"continuity-check", kPresenceContainer, kContinuityCheck, {}},
};

constexpr ModelNode kMa[] = {
    {"id", kLeaf, {}, {}},
    {"ccm-interval", kLeaf, {}, kIntervals},
    {"primary-vlan-id", kLeaf, {}, {}},
    {"vlan-list", kLeafList, {}, {}},
    {"remote-meps", kLeafList, {}, {}},
    {"mep", kList, kMep, {}},
};

constexpr ModelNode kMd[] = {
    {"id", kLeaf, {}, {}},
    {"level", kLeaf, {}, {}},
    {"ma", kList, kMa, {}},
};

constexpr ModelNode kTop[] = {{"md", kList, kMd, {}}};

constexpr ModelNode kCfm = {"cfm", kContainer, kTop, {}};

}  // namespace

const ModelNode& ConfigurationModel() {
  return kCfm;
}

const ModelNode* FindChild(const ModelNode& parent, std::string_view name) {
  const auto found = std::ranges::find(parent.children, name, &ModelNode::name);
  return found == parent.children.end() ? nullptr : &*found;
}

}  // namespace cfmctl
