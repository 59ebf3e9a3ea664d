// Whether the daemon is there, as the agent sees it.
#ifndef TOOLS_CLIENT_DAEMON_PRESENCE_H
#define TOOLS_CLIENT_DAEMON_PRESENCE_H

#include "agent_client.h"

namespace cfmctl {

// Somebody is subscribed to the configuration, and a data provider is there
// that is not lost. The daemon registers as a provider last.
bool DaemonIsThere(const cfm::agent::Status& status);

// The same, followed change by change.
class DaemonWatch {
 public:
  // The client is used for nothing else from now on. Throws Failure.
  DaemonWatch(AgentClient client, const Deadline& deadline);

  // As far as the agent has told by now. Throws Failure when it goes away.
  bool IsThere();
  // Readable when the agent has told something new.
  int Fd() const { return client_.Fd(); }

 private:
  AgentClient client_;
  bool is_there_ = false;
};

}  // namespace cfmctl

#endif
