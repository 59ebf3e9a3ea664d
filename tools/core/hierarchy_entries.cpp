#include "hierarchy_entries.h"

#include <map>

namespace cfmctl {
namespace {

using Meanings = std::map<long, std::string_view>;

const Meanings kMdNameFormats = {{4, "character string"}};
const Meanings kMaNameFormats = {{2, "character string"}};
const Meanings kIntervals = {{4, "1s"}, {5, "10s"}, {6, "1min"}, {7, "10min"}};
const Meanings kDirections = {{1, "down"}, {2, "up"}};
const Meanings kDefects = {
    {1, "all-def"}, {2, "mac-rem-err-xcon"}, {3, "rem-err-xcon"}, {4, "err-xcon"}, {5, "xcon"}};
const Meanings kFaultActions = {{0, "none"}, {1, "block"}};
const Meanings kMepVlans = {{0, "that of the MA"}};
const Meanings kInterfaces = {{0, "no such interface"}};
const Meanings kNoMeanings;

Field Text(std::string_view name, const std::string& value) {
  return {name, Field::Kind::kText, {value}, {}};
}

Field Boolean(std::string_view name, bool value) {
  return {name, Field::Kind::kBoolean, {value ? "true" : "false"}, {}};
}

Field Number(std::string_view name, auto value, const Meanings& meanings = kNoMeanings,
             std::string_view otherwise = {}) {
  const auto number = static_cast<long>(value);
  const auto meaning = meanings.find(number);
  return {name,
          Field::Kind::kNumber,
          {std::to_string(number)},
          meaning == meanings.end() ? otherwise : meaning->second};
}

Field NumberList(std::string_view name, const auto& numbers, std::string_view meaning) {
  Field field{name, Field::Kind::kNumberList, {}, meaning};
  for (const auto number : numbers) {
    field.values.push_back(std::to_string(number));
  }
  return field;
}

Entry ToEntry(std::uint16_t id, const cfm::hierarchy_mep& mep) {
  return {"mep",
          {Number("id", id), Text("md", mep.md), Text("ma", mep.ma), Number("mep-id", mep.mep_id),
           Number("direction", mep.direction, kDirections),
           Number("logical-interface-id", mep.logical_interface_id, kInterfaces),
           Number("primary-vlan-id", mep.primary_vlan_id, kMepVlans),
           Number("fixed-byte-1", mep.fixed_byte_1), Boolean("cci-enabled", mep.cci_enabled),
           Number("fixed-byte-2", mep.fixed_byte_2),
           Number("lowest-fault-priority-defect", mep.lowest_fault_priority_defect, kDefects),
           Number("fault-alarm-time", mep.fault_alarm_time, kNoMeanings, "ms"),
           Number("fault-reset-time", mep.fault_reset_time, kNoMeanings, "ms"),
           Number("fault-action", mep.fault_action, kFaultActions)},
          {}};
}

Entry ToEntry(const std::string& name, const cfm::hierarchy_ma& ma) {
  const cfm::st_maintenance_association_cfg& association = ma.association;
  Entry entry{"ma",
              {Text("name", name), Text("md", ma.md),
               Number("name-format", association.name_format, kMaNameFormats),
               NumberList("vlan-list", association.vlan_list, "primary first"),
               Number("ccm-interval", association.ccm_interval, kIntervals),
               NumberList("mep-ids", association.mep_ids, "local and remote"),
               Number("fixed-word-1", ma.fixed_word_1), Number("fixed-word-2", ma.fixed_word_2)},
              {}};
  for (const auto& [id, mep] : ma.meps) {
    entry.children.push_back(ToEntry(id, mep));
  }
  return entry;
}

Entry ToEntry(const std::string& name, const cfm::hierarchy_md& md) {
  Entry entry{"md",
              {Text("name", name), Number("name-format", md.name_format, kMdNameFormats),
               Number("level", md.level), Number("fixed-word-1", md.fixed_word_1),
               Number("fixed-word-2", md.fixed_word_2)},
              {}};
  for (const auto& [ma_name, ma] : md.mas) {
    entry.children.push_back(ToEntry(ma_name, ma));
  }
  return entry;
}

}  // namespace

std::vector<Entry> ToEntries(const cfm::Hierarchy& hierarchy) {
  std::vector<Entry> entries;
  for (const auto& [name, md] : hierarchy) {
    entries.push_back(ToEntry(name, md));
  }
  return entries;
}

}  // namespace cfmctl
