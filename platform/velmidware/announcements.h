// Who wants to know about the agent's connection.
#ifndef VELMIDWARE_ANNOUNCEMENTS_H
#define VELMIDWARE_ANNOUNCEMENTS_H

#include <map>

#include "velmidware_loop.h"

namespace velmw {

class Announcements {
 public:
  int Add(AgentStateHandler handler);
  void Remove(int registration);
  // Calls everybody in the order of registration. Who registers during the
  // call is not called, nor is who was removed during it.
  void Announce(AgentState state) const;

 private:
  std::map<int, AgentStateHandler> handlers_;
  int next_ = 1;
};

}  // namespace velmw

#endif
