// Whether the daemon is there, as the agent sees it.
#ifndef TOOLS_CLIENT_DAEMON_PRESENCE_H
#define TOOLS_CLIENT_DAEMON_PRESENCE_H

#include <string>

#include "agent_client.h"

namespace cfmctl {

// Somebody is subscribed to the configuration, and a data provider is there
// that is not lost. The daemon registers as a provider last.
bool DaemonIsThere(const cfm::agent::Status& status);

// "cfm-app (process 42) is gone since 2026-11-20T23:05:00Z"
std::string LossText(const cfm::agent::SubscriberStatus& lost);
std::string LossText(const cfm::agent::ProviderStatus& lost);

// The same as DaemonIsThere, followed change by change.
class DaemonWatch {
 public:
  // The client is used for nothing else from now on. Throws Failure.
  DaemonWatch(AgentClient client, const Deadline& deadline);

  // As far as the agent has told by now. Throws Failure when it goes away.
  bool IsThere();
  // Who was gone when it was last found away; empty when nobody had been there.
  const std::string& Loss() const { return loss_; }
  // Readable when the agent has told something new.
  int Fd() const { return client_.Fd(); }

 private:
  void Take(const cfm::agent::Status& status);

  AgentClient client_;
  bool is_there_ = false;
  std::string loss_;
};

}  // namespace cfmctl

#endif
