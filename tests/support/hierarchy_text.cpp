#include "hierarchy_text.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <vector>

namespace test {
namespace {

int Number(auto enumerator) {
  return static_cast<int>(enumerator);
}

std::string ToText(const cfm::hierarchy_mep& mep) {
  return fmt::format(
      "    mep md='{}' ma='{}' id={} direction={} interface={} vlan={} b1={} cci={} b2={} "
      "lowest={} alarm={} reset={} action={}\n",
      mep.md, mep.ma, mep.mep_id, Number(mep.direction), mep.logical_interface_id,
      mep.primary_vlan_id, mep.fixed_byte_1, mep.cci_enabled, mep.fixed_byte_2,
      Number(mep.lowest_fault_priority_defect), mep.fault_alarm_time, mep.fault_reset_time,
      Number(mep.fault_action));
}

std::string ToText(const cfm::hierarchy_ma& ma, VlanOrder order) {
  std::vector<std::uint16_t> vlans = ma.association.vlan_list;
  if (order == VlanOrder::kAsSet && !vlans.empty()) {
    std::sort(vlans.begin() + 1, vlans.end());
  }
  return fmt::format("md='{}' format={} vlans={} interval={} ids={} w1={} w2={}", ma.md,
                     ma.association.name_format, vlans, Number(ma.association.ccm_interval),
                     ma.association.mep_ids, ma.fixed_word_1, ma.fixed_word_2);
}

}  // namespace

std::string ToText(const cfm::Hierarchy& hierarchy, VlanOrder order) {
  std::string text;
  for (const auto& [md_name, md] : hierarchy) {
    text += fmt::format("md '{}' format={} level={} w1={} w2={}\n", md_name, md.name_format,
                        md.level, md.fixed_word_1, md.fixed_word_2);
    for (const auto& [ma_name, ma] : md.mas) {
      text += fmt::format("  ma '{}' {}\n", ma_name, ToText(ma, order));
      for (const auto& [id, mep] : ma.meps) {
        text += fmt::format("   {}:", id) + ToText(mep);
      }
    }
  }
  return text;
}

}  // namespace test
