// What the remote MEPs of one MEP come to, kept as counts: a CCM of one of
// thousands must not cost a look at all of them.
#ifndef CFM_ENGINE_REMOTE_TALLY_H
#define CFM_ENGINE_REMOTE_TALLY_H

#include <cstddef>

#include "defect.h"

namespace cfm::engine {

// What one remote MEP gives cause for.
struct RemoteSigns {
  bool lost = false;            // rMEPCCMdefect
  bool rdi = false;             // rMEPlastRDI
  bool interface_down = false;  // rMEPinterfaceStatusDefect
  bool port_down = false;       // rMEPportStatusDefect
};

class RemoteTally {
 public:
  void Add(const RemoteSigns& signs) { Count(signs, +1); }
  void Remove(const RemoteSigns& signs) { Count(signs, -1); }
  // Sets the three defects that come from remote MEPs (clauses 20.35.5 to 7):
  // one lost, one with RDI, one whose interface is not up, or all whose ports
  // do not forward.
  void Judge(DefectFlags& flags) const;

 private:
  void Count(const RemoteSigns& signs, long by);

  long all_ = 0;
  long lost_ = 0;
  long rdi_ = 0;
  long interface_down_ = 0;
  long port_down_ = 0;
};

}  // namespace cfm::engine

#endif
