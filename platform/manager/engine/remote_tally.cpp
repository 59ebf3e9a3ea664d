#include "remote_tally.h"

namespace cfm::engine {

void RemoteTally::Judge(DefectFlags& flags) const {
  Flag(flags, Defect::kSomeRdi) = rdi_ > 0;
  Flag(flags, Defect::kSomeMacStatus) = interface_down_ > 0 || (all_ > 0 && port_down_ == all_);
  Flag(flags, Defect::kSomeRmepCcm) = lost_ > 0;
}

void RemoteTally::Count(const RemoteSigns& signs, long by) {
  all_ += by;
  lost_ += signs.lost ? by : 0;
  rdi_ += signs.rdi ? by : 0;
  interface_down_ += signs.interface_down ? by : 0;
  port_down_ += signs.port_down ? by : 0;
}

}  // namespace cfm::engine
