#include "expected_hierarchy.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <map>

namespace cfmctl {
namespace {

template <typename Enumeration>
using Words = std::map<std::string_view, Enumeration>;

const Words<cfm::CcmInterval> kIntervals = {{"1s", cfm::CcmInterval::k1s},
                                            {"10s", cfm::CcmInterval::k10s},
                                            {"1min", cfm::CcmInterval::k1min},
                                            {"10min", cfm::CcmInterval::k10min}};
const Words<cfm::MepDirection> kDirections = {{"up", cfm::MepDirection::kUp},
                                              {"down", cfm::MepDirection::kDown}};
const Words<cfm::Defects> kDefects = {{"all-def", cfm::Defects::kAllDef},
                                      {"mac-rem-err-xcon", cfm::Defects::kMacRemErrXcon},
                                      {"rem-err-xcon", cfm::Defects::kRemErrXcon},
                                      {"err-xcon", cfm::Defects::kErrXcon},
                                      {"xcon", cfm::Defects::kXcon}};
const Words<cfm::FaultAction> kFaultActions = {{"none", cfm::FaultAction::kNone},
                                               {"block", cfm::FaultAction::kBlock}};

// What every node of a created hierarchy carries.
constexpr std::uint32_t kMdNameFormat = 4;
constexpr std::uint32_t kMaNameFormat = 2;
constexpr std::uint32_t kFixedWord = 1;
constexpr std::uint8_t kMepFixedByte1 = 1;
constexpr std::uint8_t kMepFixedByte2 = 7;

std::string Mandatory(const TreeNode& node, std::string_view leaf) {
  const std::optional<std::string> value = ChildValue(node, leaf);
  if (!value) {
    throw ConversionError(fmt::format("{} {} has no {}", node.name,
                                      ChildValue(node, "id").value_or("without id"), leaf));
  }
  return *value;
}

template <typename Integer>
Integer ToInteger(std::string_view leaf, const std::string& text) {
  Integer value{};
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, value);
  if (error != std::errc() || stop != end) {
    throw ConversionError(fmt::format("{} \"{}\" is no number in range", leaf, text));
  }
  return value;
}

template <typename Integer>
Integer MandatoryInteger(const TreeNode& node, std::string_view leaf) {
  return ToInteger<Integer>(leaf, Mandatory(node, leaf));
}

template <typename Enumeration>
Enumeration MandatoryWord(const TreeNode& node, std::string_view leaf,
                          const Words<Enumeration>& words) {
  const std::string text = Mandatory(node, leaf);
  const auto word = words.find(text);
  if (word == words.end()) {
    throw ConversionError(fmt::format("{} \"{}\" has no counterpart in the manager", leaf, text));
  }
  return word->second;
}

std::vector<const TreeNode*> Entries(const TreeNode& parent, std::string_view list) {
  std::vector<const TreeNode*> entries;
  for (const TreeNode& child : parent.children) {
    if (child.name == list) {
      entries.push_back(&child);
    }
  }
  return entries;
}

void FillContinuityCheck(cfm::hierarchy_mep& mep, const TreeNode& node) {
  mep.cci_enabled = FindChild(node, "cci-enabled") != nullptr;
  mep.lowest_fault_priority_defect = MandatoryWord(node, "lowest-fault-priority-defect", kDefects);
  mep.fault_alarm_time = MandatoryInteger<std::uint16_t>(node, "fault-alarm-time");
  mep.fault_reset_time = MandatoryInteger<std::uint16_t>(node, "fault-reset-time");
  mep.fault_action = MandatoryWord(node, "fault-action", kFaultActions);
}

cfm::hierarchy_mep ToMep(const std::string& md, const std::string& ma, const TreeNode& node,
                         const InterfaceIds& interface_ids) {
  cfm::hierarchy_mep mep;
  mep.md = md;
  mep.ma = ma;
  mep.mep_id = MandatoryInteger<std::uint16_t>(node, "id");
  mep.direction = MandatoryWord(node, "direction", kDirections);
  mep.logical_interface_id = interface_ids(Mandatory(node, "interface"));
  if (const auto vlan = ChildValue(node, "primary-vlan-id")) {
    mep.primary_vlan_id = ToInteger<std::uint16_t>("primary-vlan-id", *vlan);
  }
  mep.fixed_byte_1 = kMepFixedByte1;
  mep.fixed_byte_2 = kMepFixedByte2;
  mep.lowest_fault_priority_defect = cfm::Defects::kMacRemErrXcon;
  mep.fault_alarm_time = 2500;
  mep.fault_reset_time = 10000;
  if (const TreeNode* const check = FindChild(node, "continuity-check"); check != nullptr) {
    FillContinuityCheck(mep, *check);
  }
  return mep;
}

std::vector<std::uint16_t> PrimaryFirst(const TreeNode& ma) {
  std::vector<std::uint16_t> vlans;
  for (const std::string& vlan : ChildValues(ma, "vlan-list")) {
    vlans.push_back(ToInteger<std::uint16_t>("vlan-list", vlan));
  }
  const auto primary =
      std::ranges::find(vlans, MandatoryInteger<std::uint16_t>(ma, "primary-vlan-id"));
  if (primary == vlans.end()) {
    throw ConversionError(
        fmt::format("the primary VLAN of ma {} is not in its vlan-list", Mandatory(ma, "id")));
  }
  std::rotate(vlans.begin(), primary, primary + 1);
  return vlans;
}

cfm::hierarchy_ma ToMa(const std::string& md, const TreeNode& node,
                       const InterfaceIds& interface_ids) {
  cfm::hierarchy_ma ma;
  ma.md = md;
  ma.association.name_format = kMaNameFormat;
  ma.association.vlan_list = PrimaryFirst(node);
  ma.association.ccm_interval = MandatoryWord(node, "ccm-interval", kIntervals);
  ma.fixed_word_1 = kFixedWord;
  ma.fixed_word_2 = kFixedWord;
  for (const std::string& remote : ChildValues(node, "remote-meps")) {
    ma.association.mep_ids.insert(ToInteger<std::uint16_t>("remote-meps", remote));
  }
  for (const TreeNode* entry : Entries(node, "mep")) {
    cfm::hierarchy_mep mep = ToMep(md, Mandatory(node, "id"), *entry, interface_ids);
    ma.association.mep_ids.insert(mep.mep_id);
    ma.meps.emplace(mep.mep_id, std::move(mep));
  }
  return ma;
}

}  // namespace

cfm::Hierarchy ExpectedHierarchy(const TreeNode& cfm, const InterfaceIds& interface_ids) {
  cfm::Hierarchy hierarchy;
  for (const TreeNode* node : Entries(cfm, "md")) {
    const std::string name = Mandatory(*node, "id");
    cfm::hierarchy_md& md = hierarchy[name];
    md.name_format = kMdNameFormat;
    md.level = MandatoryInteger<std::int32_t>(*node, "level");
    md.fixed_word_1 = kFixedWord;
    md.fixed_word_2 = kFixedWord;
    for (const TreeNode* ma : Entries(*node, "ma")) {
      md.mas.emplace(Mandatory(*ma, "id"), ToMa(name, *ma, interface_ids));
    }
  }
  return hierarchy;
}

}  // namespace cfmctl
