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
  void Remove(const Listener* listener);
  // In the order of their coming.
  const std::vector<Listener*>& All() const { return listeners_; }

  // Adds those that are there and those that are gone.
  void Describe(cfm::agent::Status& status) const;

  // Numbers of points are unique in the agent's life.
  std::int32_t NextPoint() { return next_point_++; }

 private:
  std::vector<Listener*> listeners_;
  std::vector<cfm::agent::SubscriberStatus> lost_;  // the last one last
  std::int32_t next_point_ = 1;
};

// Priorities of the points, lowest first.
std::set<std::int32_t> PrioritiesOf(const Listener& listener);

}  // namespace agentd

#endif
