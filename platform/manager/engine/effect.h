// What the engine wants done, in the order in which it decided so.
#ifndef CFM_ENGINE_EFFECT_H
#define CFM_ENGINE_EFFECT_H

#include <cstdint>
#include <variant>
#include <vector>

#include "bytes.h"
#include "cfm/records.h"
#include "defect.h"
#include "mep_name.h"

namespace cfm::engine {

// A logical interface id of the element; 0 is none's.
using PortId = std::uint32_t;

// A down MEP's frame leaves through its own port, blocked or not.
struct Transmit {
  PortId port = 0;
  Bytes frame;
};

// An up MEP's frame enters the bridge at its port: it leaves through every
// other port of the element. Other up MEPs of this engine have had it already.
struct TransmitIntoRelay {
  PortId from = 0;
  Bytes frame;
};

// A status is as it is now, and comes when it differs from the last one.
struct LocalStatus {
  MepName mep;
  st_lmep_status status{};
};

struct RemoteStatus {
  MepName mep;  // the local MEP that sees it
  std::uint16_t remote = 0;
  st_rmep_status status{};
};

struct LocalRemoved {
  MepName mep;
};

struct RemoteRemoved {
  MepName mep;
  std::uint16_t remote = 0;
};

// Data frames are to be held back at the port, or no longer. CFM frames pass.
struct PortBlock {
  PortId port = 0;
  bool blocked = false;
};

// A fault is reported with its highest defect, again when it gets a higher
// one, and with kNone when it is over.
struct FaultAlarm {
  MepName mep;
  Defect defect = Defect::kNone;
};

using Effect = std::variant<Transmit, TransmitIntoRelay, LocalStatus, RemoteStatus, LocalRemoved,
                            RemoteRemoved, PortBlock, FaultAlarm>;
using Effects = std::vector<Effect>;

}  // namespace cfm::engine

#endif
