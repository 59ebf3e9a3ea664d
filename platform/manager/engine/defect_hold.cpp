#include "defect_hold.h"

#include <algorithm>

namespace cfm::engine {

void DefectHold::Raise(Nanoseconds now, Nanoseconds interval) {
  const Nanoseconds deadline = now + interval * 7 / 2;
  timer_.Start(Present() ? std::max(deadline, timer_.Deadline()) : deadline);
}

}  // namespace cfm::engine
