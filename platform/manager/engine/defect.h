// The five defects of a MEP in ascending priority (IEEE 802.1Q clause 20.1 and
// table 20-1).
#ifndef CFM_ENGINE_DEFECT_H
#define CFM_ENGINE_DEFECT_H

#include <array>
#include <cstdint>

#include "cfm/hierarchy.h"
#include "cfm/records.h"

namespace cfm::engine {

// The value is the priority.
enum class Defect : std::uint8_t {
  kNone = 0,
  kSomeRdi = 1,
  kSomeMacStatus = 2,
  kSomeRmepCcm = 3,
  kErrorCcm = 4,
  kXconCcm = 5,
};

// By priority - 1, the order of st_lmep_status.
using DefectFlags = std::array<bool, kDefectCount>;

inline bool& Flag(DefectFlags& flags, Defect defect) {
  return flags[static_cast<std::size_t>(defect) - 1];
}

// highestDefectPri: the highest of those that are present and at least as high
// as the lowest that matters; Defects::kNone lets nothing matter.
Defect HighestEnabled(const DefectFlags& flags, Defects lowest);

// presentRDI: whether a MEP with that highest enabled defect tells its peers.
// It does not for an RDI of theirs, or two MEPs would keep each other at it.
inline bool PresentRdi(Defect highest_enabled) {
  return highest_enabled > Defect::kSomeRdi;
}

}  // namespace cfm::engine

#endif
