#include "mep_settings.h"

#include <algorithm>
#include <iterator>

#include "ccm.h"

namespace cfm::engine {
namespace {

// The names of one MEP's place and the nodes there.
struct Place {
  const std::string& md_name;
  const hierarchy_md& md;
  const std::string& ma_name;
  const hierarchy_ma& ma;
};

std::shared_ptr<const Members> MembersOf(const hierarchy_ma& ma) {
  auto members = std::make_shared<Members>();
  members->all = ma.association.mep_ids;
  for (const auto& [id, mep] : ma.meps) {
    members->all.insert(id);
  }
  std::ranges::copy_if(members->all, std::inserter(members->remote, members->remote.end()),
                       [&ma](std::uint16_t id) { return !ma.meps.contains(id); });
  return members;
}

std::uint16_t PrimaryVlan(const hierarchy_ma& ma, const hierarchy_mep& mep) {
  if (mep.primary_vlan_id != 0 || ma.association.vlan_list.empty()) {
    return mep.primary_vlan_id;
  }
  return ma.association.vlan_list.front();
}

Line LineOf(const Place& place, const hierarchy_mep& mep) {
  const auto& association = place.ma.association;
  Line line;
  line.port = mep.logical_interface_id;
  line.up = mep.direction == MepDirection::kUp;
  line.level = static_cast<std::uint8_t>(place.md.level);
  line.interval = static_cast<std::uint8_t>(association.ccm_interval);
  line.primary_vlan = PrimaryVlan(place.ma, mep);
  line.vlans.insert(association.vlan_list.begin(), association.vlan_list.end());
  line.vlans.insert(line.primary_vlan);
  line.maid = MakeMaid(place.md_name, place.ma_name).value_or(Maid{});
  return line;
}

// Empty when nothing is.
std::string WhatIsWrong(const Place& place, const hierarchy_mep& mep) {
  const auto interval = static_cast<int>(place.ma.association.ccm_interval);
  const std::uint16_t vlan = PrimaryVlan(place.ma, mep);
  if (place.md.level < 0 || place.md.level > 7) {
    return "level " + std::to_string(place.md.level) + " is not 0 to 7";
  }
  if (interval < 1 || interval > 7) {
    return "its MA has no CCM interval";
  }
  if (vlan < 1 || vlan > 4094) {
    return "primary VLAN " + std::to_string(vlan) + " is not 1 to 4094";
  }
  if (mep.direction != MepDirection::kUp && mep.direction != MepDirection::kDown) {
    return "it has no direction";
  }
  if (place.md.name_format != kMdNameAsText || place.ma.association.name_format != kMaNameAsText) {
    return "its names are not to be sent as character strings";
  }
  if (!MakeMaid(place.md_name, place.ma_name)) {
    return "the names of its MD and MA do not fit a CCM, which holds 44 octets of both";
  }
  return {};
}

MepSettings SettingsOf(const Place& place, const hierarchy_mep& mep,
                       std::shared_ptr<const Members> members) {
  MepSettings settings;
  settings.enabled = mep.cci_enabled;
  settings.line = LineOf(place, mep);
  settings.members = std::move(members);
  settings.lowest_defect = mep.lowest_fault_priority_defect;
  settings.fault_times = {.alarm = std::chrono::milliseconds(mep.fault_alarm_time),
                          .reset = std::chrono::milliseconds(mep.fault_reset_time)};
  settings.fault_action = mep.fault_action;
  return settings;
}

void PlanMa(const Place& place, MepPlan& plan, std::vector<std::string>& warnings) {
  const auto members = MembersOf(place.ma);
  for (const auto& [id, mep] : place.ma.meps) {
    MepSettings settings = SettingsOf(place, mep, members);
    std::string wrong =
        id >= 1 && id <= kLargestMepId ? WhatIsWrong(place, mep) : "its id is not 1 to 8191";
    settings.usable = wrong.empty();
    if (!wrong.empty()) {
      warnings.push_back("MEP " + std::to_string(id) + " of MA " + place.ma_name + " of MD " +
                         place.md_name + " stays idle: " + wrong);
    }
    plan.emplace(MepName{place.md_name, place.ma_name, id}, std::move(settings));
  }
}

}  // namespace

void PlanMeps(const std::string& name, const hierarchy_md& md, MepPlan& plan,
              std::vector<std::string>& warnings) {
  for (const auto& [ma_name, ma] : md.mas) {
    PlanMa({name, md, ma_name, ma}, plan, warnings);
  }
}

}  // namespace cfm::engine
