// Who wants to hear of commits.
#ifndef AGENT_SUBSCRIPTIONS_H
#define AGENT_SUBSCRIPTIONS_H

#include <sys/types.h>

#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include "agent.pb.h"
#include "instance_path.h"
#include "model.h"

namespace agentd {

// One point that a connection subscribed to.
struct SubscribedPoint {
  std::int32_t id = 0;
  std::int32_t priority = 0;
  InstancePath path;
};

// A subscription connection as the commit sees it.
class Listener {
 public:
  virtual ~Listener() = default;
  virtual const std::vector<SubscribedPoint>& Points() const = 0;
  virtual const std::string& Name() const = 0;
  virtual std::string Describe() const = 0;  // "cfm-app (process 42)"
  virtual pid_t Pid() const = 0;             // 0: not known
  // What operators see of its points of one priority.
  virtual void Describe(std::int32_t priority, cfm::agent::SubscriberStatus& status) const = 0;
  virtual void Notify(const cfm::agent::Notification& notification) = 0;
  // Ends the connection; the listener is gone afterwards.
  virtual void Drop(const std::string& reason) = 0;
};

class Subscriptions {
 public:
  void Add(Listener* listener);
  // It is no more. One that has fallen behind is remembered as such until one of
  // its name comes, which reads the configuration as it is.
  void Remove(const Listener* listener);
  // It has not dealt with a change and will be removed; or so will all of a
  // process.
  void FallBehind(const Listener* listener) { behind_.insert(listener); }
  void FallBehind(pid_t pid);
  // In the order of their coming.
  const std::vector<Listener*>& All() const { return listeners_; }

  // A line for each program that has fallen behind and not come back, and does not
  // hear of the change either; for people.
  std::vector<std::string> Behind(const Model& model, const cfm::agent::Change& changes) const;

  // Adds those that are there, and those that are gone and of whose name there is
  // none.
  void Describe(cfm::agent::Status& status) const;

  // Numbers of points are unique in the agent's life.
  std::int32_t NextPoint() { return next_point_++; }

 private:
  struct Lost {
    std::string name;
    std::string description;
    std::int64_t since = 0;
    std::vector<SubscribedPoint> points;
    bool is_behind = false;
    std::vector<cfm::agent::SubscriberStatus> statuses;  // one a priority
  };

  bool Has(const std::string& name) const;
  void ForgetOldest();

  std::vector<Listener*> listeners_;
  std::set<const Listener*> behind_;  // of listeners_
  std::vector<Lost> lost_;            // the last one last
  std::int32_t next_point_ = 1;
};

// Priorities of the points, lowest first.
std::set<std::int32_t> PrioritiesOf(const Listener& listener);

}  // namespace agentd

#endif
