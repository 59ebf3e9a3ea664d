#include "defect.h"

namespace cfm::engine {

Defect HighestEnabled(const DefectFlags& flags, Defects lowest) {
  if (lowest == Defects::kNone) {
    return Defect::kNone;
  }
  for (std::uint8_t priority = kDefectCount; priority >= static_cast<int>(lowest); --priority) {
    if (flags[priority - 1U]) {
      return static_cast<Defect>(priority);
    }
  }
  return Defect::kNone;
}

}  // namespace cfm::engine
