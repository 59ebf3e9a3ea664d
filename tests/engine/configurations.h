// Small configurations, and names for what is in them.
#ifndef CFM_TESTS_ENGINE_CONFIGURATIONS_H
#define CFM_TESTS_ENGINE_CONFIGURATIONS_H

#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include "cfm/hierarchy.h"
#include "effect.h"

namespace cfm::engine {

struct OneMep {
  std::uint16_t id = 1;
  std::set<std::uint16_t> remotes = {2};
  std::string md = "east";
  std::string ma = "blue";
  int level = 3;
  CcmInterval interval = CcmInterval::k1s;
  std::vector<std::uint16_t> vlans = {10};
  PortId port = 1;
  MepDirection direction = MepDirection::kDown;
};

// With the values that the daemon gives a MEP, and CCMs enabled.
Hierarchy Configure(const OneMep& mep);
void AddMep(Hierarchy& hierarchy, const OneMep& mep);
hierarchy_mep& MepOf(Hierarchy& hierarchy, const OneMep& mep);

}  // namespace cfm::engine

#endif
