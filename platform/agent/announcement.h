// Telling the subscribers of one commit, one priority after the other, and
// waiting for each to say that it is done.
#ifndef AGENT_ANNOUNCEMENT_H
#define AGENT_ANNOUNCEMENT_H

#include <chrono>
#include <functional>
#include <set>
#include <string>
#include <vector>

#include "model.h"
#include "subscriptions.h"
#include "timer.h"

namespace agentd {

class Announcement {
 public:
  // One line per subscriber that was lost on the way.
  using Done = std::function<void(std::vector<std::string> warnings)>;

  Announcement(sd_event* loop, const Model& model, const Subscriptions& subscriptions,
               std::chrono::microseconds timeout);

  // One at a time. `done` may be called before Begin returns.
  void Begin(std::uint64_t txid, cfm::agent::Change changes, Done done);

  // The listener has dealt with the notification; false when it had none.
  bool Synced(const Listener* listener);
  // The listener is no more.
  void Lost(const Listener* listener);
  // Ends what was begun: one warning for each listener that has not dealt with
  // the change, whether it was told of it or not.
  void GiveUp(const std::string& why);

 private:
  void NextPriority();
  std::vector<std::int32_t> Touched(const Listener& listener, std::int32_t priority) const;
  bool NotifyOne(Listener& listener, std::int32_t priority);
  void OnTimeout();
  void GoOn();

  const Model& model_;
  const Subscriptions& subscriptions_;
  std::chrono::microseconds timeout_;
  Timer timer_;
  Timer soon_;  // goes on after a loss, out of the destructor that told of it

  std::uint64_t txid_ = 0;
  cfm::agent::Change changes_;
  std::set<std::int32_t> priorities_;  // still to come
  std::vector<const Listener*> pending_;
  std::vector<std::string> warnings_;
  Done done_;
};

}  // namespace agentd

#endif
