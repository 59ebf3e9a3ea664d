// The configuration as a MEP needs it, taken out of the hierarchy.
#ifndef CFM_ENGINE_MEP_SETTINGS_H
#define CFM_ENGINE_MEP_SETTINGS_H

#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "cfm/hierarchy.h"
#include "effect.h"
#include "fault_notifier.h"
#include "maid.h"
#include "mep_name.h"

namespace cfm::engine {

// Who is in the MA. Shared by its MEPs.
struct Members {
  std::set<std::uint16_t> all;
  // Those that are not MEPs of this element. A MEP watches these: the ids of
  // the element's own are known to it, but have a record of their own already.
  std::set<std::uint16_t> remote;

  bool operator==(const Members&) const = default;
};

// What the MEP says and hears. A change starts its state machines anew.
struct Line {
  PortId port = 0;
  bool up = false;
  std::uint8_t level = 0;
  std::uint8_t interval = 0;       // field value of the CCM
  std::uint16_t primary_vlan = 0;  // it sends on this one
  std::set<std::uint16_t> vlans;   // and hears on these
  Maid maid{};

  bool operator==(const Line&) const = default;
};

struct MepSettings {
  // False when the configuration does not make sense: the MEP stays idle.
  bool usable = false;
  bool enabled = false;  // cci-enabled
  Line line;
  std::shared_ptr<const Members> members;
  Defects lowest_defect = Defects::kNone;
  FaultTimes fault_times;
  FaultAction fault_action = FaultAction::kNone;
};

using MepPlan = std::map<MepName, MepSettings>;

// Adds the MEPs of an MD. Appends a line for each that is not usable, such as
// `MEP 5 of MA blue of MD east stays idle: level 9 is not 0 to 7`.
void PlanMeps(const std::string& name, const hierarchy_md& md, MepPlan& plan,
              std::vector<std::string>& warnings);

}  // namespace cfm::engine

#endif
