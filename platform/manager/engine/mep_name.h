// Which MEP of the element.
#ifndef CFM_ENGINE_MEP_NAME_H
#define CFM_ENGINE_MEP_NAME_H

#include <compare>
#include <cstdint>
#include <string>

namespace cfm::engine {

struct MepName {
  std::string md;
  std::string ma;
  std::uint16_t id = 0;

  auto operator<=>(const MepName&) const = default;
};

}  // namespace cfm::engine

#endif
