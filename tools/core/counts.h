// The size of a hierarchy for people.
#ifndef TOOLS_CORE_COUNTS_H
#define TOOLS_CORE_COUNTS_H

#include <string>

#include "cfm/hierarchy.h"

namespace cfmctl {

// "1 MD, 2 MAs, 3 MEPs"
std::string CountsText(const cfm::Hierarchy& hierarchy);

}  // namespace cfmctl

#endif
