// Telling the subscribers of one commit, one priority after the other, and
// waiting for each to say that it is done.
#ifndef AGENT_ANNOUNCEMENT_H
#define AGENT_ANNOUNCEMENT_H

#include <chrono>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "deadline.h"
#include "heartbeat.h"
#include "model.h"
#include "subscriptions.h"
#include "timer.h"

namespace agentd {

class Announcement {
 public:
  // One line for each subscriber that did not deal with all of it, or has not come
  // back since an earlier change that it did not deal with: who, and why.
  using Done = std::function<void(std::vector<std::string> warnings)>;

  // A listener that shows no sign of life is given up by the heartbeat, one
  // that does and is not done after `timeout` then.
  Announcement(sd_event* loop, const Model& model, Subscriptions& subscriptions,
               Heartbeat& heartbeat, std::chrono::microseconds timeout);

  // One at a time. `done` may be called before Begin returns. Told are those who
  // listen now: who comes later reads the changed configuration.
  void Begin(std::uint64_t txid, cfm::agent::Change changes, Done done);

  // The listener has dealt with the notification of that number; false when
  // that is not what it has.
  bool Synced(const Listener* listener, std::uint64_t number);
  // The listener is no more.
  void Lost(const Listener* listener);
  // Ends what was begun: one warning for each listener that has not dealt with
  // the change, whether it was told of it or not.
  void GiveUp(const std::string& why);

 private:
  // What a listener is told of at one priority.
  struct Part {
    Listener* listener;
    std::vector<std::int32_t> points;
  };
  struct Pending {
    Listener* listener;
    std::uint64_t number;  // of its notification
  };

  void AddParts(Listener& listener);
  void NextPriority();
  void Notify(const Part& part);
  // Whether anything of the commit was still to be dealt with by the listener,
  // which has fallen behind then.
  bool Forget(const Listener* listener);
  void GiveUp(Listener* listener, const std::string& why);
  void OnTimeout();
  void GoOn();

  const Model& model_;
  Subscriptions& subscriptions_;
  Heartbeat& heartbeat_;
  std::chrono::microseconds timeout_;
  Deadline timer_;
  Timer soon_;  // goes on after a loss, when all that goes with it is gone

  std::uint64_t txid_ = 0;
  cfm::agent::Change changes_;
  std::map<std::int32_t, std::vector<Part>> to_come_;  // by priority
  std::vector<Pending> pending_;
  std::uint64_t last_number_ = 0;  // of a notification, in the agent's life
  std::vector<std::string> warnings_;
  Done done_;
};

}  // namespace agentd

#endif
