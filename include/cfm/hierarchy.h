// The configuration hierarchy that the daemon hands to the CFM manager: every
// maintenance domain (MD) by name, in it every maintenance association (MA)
// by name, in it every maintenance association end point (MEP) by id.
//
// Field order and widths are the interface to the CFM manager. A node that a
// map's subscript inserts has all numbers 0 and all strings and containers
// empty; the values of a node that was created on purpose are config's.
#ifndef CFM_HIERARCHY_H
#define CFM_HIERARCHY_H

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace cfm {

// CCM interval field of a CCM's flags (IEEE 802.1Q table 21-15).
enum class CcmInterval : std::int32_t {
  kNone = 0,
  k1s = 4,
  k10s = 5,
  k1min = 6,
  k10min = 7,
};

enum class MepDirection : std::int32_t {
  kNone = 0,
  kDown = 1,
  kUp = 2,
};

// Lowest defect that raises a fault alarm (IEEE 802.1Q clause 20.9.5).
enum class Defects : std::uint8_t {
  kNone = 0,
  kAllDef = 1,
  kMacRemErrXcon = 2,
  kRemErrXcon = 3,
  kErrXcon = 4,
  kXcon = 5,
};

enum class FaultAction : std::int32_t {
  kNone = 0,
  kBlock = 1,
};

// One MEP; its id is also its key.
struct hierarchy_mep {
  std::string md;            // name of its MD
  std::string ma;            // name of its MA
  std::uint16_t mep_id = 0;  // 1..8191
  MepDirection direction = MepDirection::kNone;
  std::uint32_t logical_interface_id = 0;  // 0: none
  std::uint16_t primary_vlan_id = 0;       // 1..4094; 0: that of the MA
  std::uint8_t fixed_byte_1 = 0;           // 1 in a created MEP
  bool cci_enabled = false;                // the MEP sends CCMs
  std::uint8_t fixed_byte_2 = 0;           // 7 in a created MEP
  Defects lowest_fault_priority_defect = Defects::kNone;
  std::uint16_t fault_alarm_time = 0;  // milliseconds
  std::uint16_t fault_reset_time = 0;  // milliseconds
  FaultAction fault_action = FaultAction::kNone;
};

// What the CFM manager keeps per MA apart from its MEPs.
struct st_maintenance_association_cfg {
  std::uint32_t name_format = 0;         // IEEE 802.1Q table 21-20: 2, character string
  std::vector<std::uint16_t> vlan_list;  // the primary VLAN first
  CcmInterval ccm_interval = CcmInterval::kNone;
  std::set<std::uint16_t> mep_ids;  // every MEP of the MA, local and remote
};

// One MA; its name is its key.
struct hierarchy_ma {
  std::string md;  // name of its MD
  st_maintenance_association_cfg association;
  std::uint32_t fixed_word_1 = 0;  // 1 in a created MA
  std::uint32_t fixed_word_2 = 0;  // 1 in a created MA
  std::map<std::uint16_t, hierarchy_mep> meps;
};

// One MD; its name is its key.
struct hierarchy_md {
  std::uint32_t name_format = 0;   // IEEE 802.1Q table 21-19: 4, character string
  std::int32_t level = 0;          // MD level, 0..7
  std::uint32_t fixed_word_1 = 0;  // 1 in a created MD
  std::uint32_t fixed_word_2 = 0;  // 1 in a created MD
  std::map<std::string, hierarchy_ma> mas;
};

// The whole configuration, by MD name.
using Hierarchy = std::map<std::string, hierarchy_md>;

}  // namespace cfm

#endif
