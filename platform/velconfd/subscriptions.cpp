#include "subscriptions.h"

#include <confd_cdb.h>

#include <algorithm>
#include <limits>
#include <string>

#include "agent_error.h"

namespace velconfd {
namespace {

ConfigPoint Subscribe(int socket, const SubscriptionPoint& wanted) {
  ConfigPoint made{wanted, PointPath(wanted.path)};
  Check(cdb_subscribe(socket, wanted.priority, static_cast<int>(wanted.name_space),
                      &made.point.subscription_id, wanted.path),
        "cdb_subscribe");
  return made;
}

}  // namespace

Subscriptions::Subscriptions(int socket, const std::vector<ConfigHandler*>& handlers) {
  for (ConfigHandler* handler : handlers) {
    HandlerPoints& own = handlers_.emplace_back(HandlerPoints{handler, {}});
    for (const SubscriptionPoint& point : handler->GetSubscriptionPoints()) {
      own.points.push_back(Subscribe(socket, point));
    }
  }
  Check(cdb_subscribe_done(socket), "cdb_subscribe_done");
}

bool Subscriptions::CompletesCommit(const std::vector<int>& points) const {
  int last = std::numeric_limits<int>::min();
  int named = last;
  for (const HandlerPoints& handler : handlers_) {
    for (const ConfigPoint& one : handler.points) {
      last = std::max(last, one.point.priority);
      if (std::find(points.begin(), points.end(), one.point.subscription_id) != points.end()) {
        named = std::max(named, one.point.priority);
      }
    }
  }
  return named == last;
}

}  // namespace velconfd
