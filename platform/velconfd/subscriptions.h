// What the configuration handlers subscribe to.
#ifndef VELCONFD_SUBSCRIPTIONS_H
#define VELCONFD_SUBSCRIPTIONS_H

#include <vector>

#include "point_path.h"
#include "velconfd/handlers.h"

namespace velconfd {

// The framework's copy of a handler's subscription point; it holds the
// subscription_id that the agent gave.
struct ConfigPoint {
  SubscriptionPoint point;
  PointPath path;
};

// The points of one handler, in the handler's order.
struct HandlerPoints {
  ConfigHandler* handler;
  std::vector<ConfigPoint> points;
};

class Subscriptions {
 public:
  // Subscribes on `socket` to every point of every handler; what is
  // committed from now on is notified. The schemas are loaded. Throws
  // AgentError; std::invalid_argument for a path that is none.
  Subscriptions(int socket, const std::vector<ConfigHandler*>& handlers);

  const std::vector<HandlerPoints>& Handlers() const { return handlers_; }

  // The agent notifies the points of one priority at a time. True when a
  // notification that names `points` is the last of its commit for certain.
  bool CompletesCommit(const std::vector<int>& points) const;

 private:
  std::vector<HandlerPoints> handlers_;
};

}  // namespace velconfd

#endif
