// Which MEPs of a configuration have no port to run on.
#ifndef CFM_MANAGER_INTERFACE_CHECK_H
#define CFM_MANAGER_INTERFACE_CHECK_H

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "cfm/hierarchy.h"

namespace cfm {

// Whether the element has an interface of that logical id.
using InterfaceExists = std::function<bool(std::uint32_t logical_interface_id)>;

// One line for each MEP whose interface the element does not have, such as
// `MEP 5 of MA blue of MD east: no interface with logical id 7`. Id 0 is no
// interface's.
std::vector<std::string> FindMepsWithoutInterface(const Hierarchy& hierarchy,
                                                  const InterfaceExists& exists);

}  // namespace cfm

#endif
