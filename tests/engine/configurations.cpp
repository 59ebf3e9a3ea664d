#include "configurations.h"

namespace cfm::engine {

Hierarchy Configure(const OneMep& mep) {
  Hierarchy hierarchy;
  AddMep(hierarchy, mep);
  return hierarchy;
}

void AddMep(Hierarchy& hierarchy, const OneMep& mep) {
  hierarchy_md& md = hierarchy[mep.md];
  md.name_format = 4;
  md.level = mep.level;
  md.fixed_word_1 = md.fixed_word_2 = 1;
  hierarchy_ma& ma = md.mas[mep.ma];
  ma.md = mep.md;
  ma.fixed_word_1 = ma.fixed_word_2 = 1;
  ma.association.name_format = 2;
  ma.association.vlan_list = mep.vlans;
  ma.association.ccm_interval = mep.interval;
  ma.association.mep_ids.insert(mep.id);
  ma.association.mep_ids.insert(mep.remotes.begin(), mep.remotes.end());
  hierarchy_mep& node = ma.meps[mep.id];
  node.md = mep.md;
  node.ma = mep.ma;
  node.mep_id = mep.id;
  node.direction = mep.direction;
  node.logical_interface_id = mep.port;
  node.fixed_byte_1 = 1;
  node.cci_enabled = true;
  node.fixed_byte_2 = 7;
  node.lowest_fault_priority_defect = Defects::kMacRemErrXcon;
  node.fault_alarm_time = 2500;
  node.fault_reset_time = 10000;
}

hierarchy_mep& MepOf(Hierarchy& hierarchy, const OneMep& mep) {
  return hierarchy.at(mep.md).mas.at(mep.ma).meps.at(mep.id);
}

}  // namespace cfm::engine
