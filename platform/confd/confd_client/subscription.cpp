// Subscriptions: setting them up, taking notifications, walking and
// acknowledging them.
#include <confd_cdb.h>

#include <algorithm>

#include "confd_client/connection.h"
#include "confd_client/diff_walk.h"
#include "confd_client/names.h"
#include "confd_client/path_arguments.h"
#include "confd_client/path_message.h"
#include "fail_point.h"

namespace confd {
namespace {

void CheckStillSubscribing(const Connection& connection) {
  if (connection.subscribe_done) {
    throw ApiError(CONFD_ERR_BADSTATE, "cdb_subscribe_done has ended subscribing on this socket");
  }
}

void CheckHasNoPosition(const Path& path) {
  if (std::ranges::any_of(path, [](const Step& step) { return step.position.has_value(); })) {
    throw ApiError(CONFD_ERR_BADPATH, "a position cannot be subscribed to");
  }
}

int Subscribe(Connection& connection, const Path& path, int priority, std::uint32_t name_space) {
  CheckStillSubscribing(connection);
  CheckHasNoPosition(path);
  cfm::agent::Request request;
  auto& subscribe = *request.mutable_subscribe();
  subscribe.set_priority(priority);
  subscribe.set_name_space(name_space);
  *subscribe.mutable_path() = PathMessage(path);
  CFM_FAIL_POINT(confd_subscribing);
  const int id = connection.link.Transact(request).subscription_id();
  connection.points.push_back({id, name_space, path});
  CFM_FAIL_POINT(confd_subscribed);
  return id;
}

int EndSubscribing(Connection& connection) {
  CheckStillSubscribing(connection);
  cfm::agent::Request request;
  request.mutable_subscribe_done();
  connection.link.Transact(request);
  connection.subscribe_done = true;
  CFM_FAIL_POINT(confd_subscribe_done);
  return CONFD_OK;
}

const SubscriptionPoint* FindPoint(const Connection& connection, int id) {
  const auto point = std::ranges::find(connection.points, id, &SubscriptionPoint::id);
  return point == connection.points.end() ? nullptr : &*point;
}

void CheckNotification(const Connection& connection, const cfm::agent::Notification& notification) {
  if (notification.points_size() > CDB_MAX_SUBSCRIPTION_POINTS) {
    throw ipc::ProtocolError("a notification of " + std::to_string(notification.points_size()) +
                             " points");
  }
  for (const int id : notification.points()) {
    if (FindPoint(connection, id) == nullptr) {
      throw ipc::ProtocolError("a notification of point " + std::to_string(id) +
                               ", which is not this connection's");
    }
  }
}

int ReadNotification(Connection& connection, int points[], int* count) {
  if (points == nullptr || count == nullptr) {
    throw ApiError(CONFD_ERR_PROTOUSAGE, "the result's address is null");
  }
  if (!connection.subscribe_done || connection.notification) {
    throw ApiError(CONFD_ERR_BADSTATE, connection.subscribe_done
                                           ? "the last notification is not acknowledged yet"
                                           : "nothing comes before cdb_subscribe_done");
  }
  cfm::agent::FromAgent message;
  connection.link.Receive(message);
  if (!message.has_notification()) {
    throw ipc::ProtocolError("a message that is no notification");
  }
  CFM_FAIL_POINT(confd_notified);
  CheckNotification(connection, message.notification());
  connection.notification =
      std::make_shared<const cfm::agent::Notification>(std::move(*message.mutable_notification()));
  std::ranges::copy(connection.notification->points(), points);
  *count = connection.notification->points_size();
  return CONFD_OK;
}

void CheckNotified(const Connection& connection) {
  if (!connection.notification) {
    throw ApiError(CONFD_ERR_BADSTATE,
                   "there is no notification: call cdb_read_subscription_socket first");
  }
}

int Iterate(Connection& connection, int id, int flags, IterateCallback callback, void* state) {
  CheckNotified(connection);
  const SubscriptionPoint* point = FindPoint(connection, id);
  if (point == nullptr || callback == nullptr) {
    throw ApiError(CONFD_ERR_PROTOUSAGE,
                   point == nullptr ? std::to_string(id) + " is no subscription of this socket"
                                    : "the iterate callback is null");
  }
  const auto notification = connection.notification;
  CFM_FAIL_POINT(confd_iterating);
  try {
    DiffWalk(SchemaNames(), point->path, point->name_space, flags, callback, state)
        .Run(notification->root());
  } catch (const ApiError& error) {
    throw error.About(PathText(point->path));
  }
  CFM_FAIL_POINT(confd_iterated);
  return CONFD_OK;
}

int Sync(Connection& connection, cdb_subscription_sync_type type) {
  CheckNotified(connection);
  CFM_FAIL_POINT(confd_syncing);
  cfm::agent::Request request;
  request.mutable_subscription_sync()->set_type(type);
  request.mutable_subscription_sync()->set_number(connection.notification->number());
  connection.notification.reset();
  connection.link.Send(request);
  CFM_FAIL_POINT(confd_synced);
  return CONFD_OK;
}

}  // namespace
}  // namespace confd

extern "C" {

int cdb_subscribe(int sock, int prio, int nspace, int* spoint, const char* fmt, ...) {
  CONFD_PATH_ARGUMENTS(arguments, fmt);
  return confd::OnConnection(sock, CDB_SUBSCRIPTION_SOCKET, [&](confd::Connection& connection) {
    const confd::Path path = confd::ParseFormat(fmt, arguments);
    try {
      const int id = confd::Subscribe(connection, path, prio, static_cast<std::uint32_t>(nspace));
      if (spoint != nullptr) {
        *spoint = id;
      }
      return CONFD_OK;
    } catch (const confd::ApiError& error) {
      throw error.About(confd::PathText(path));
    }
  });
}

int cdb_subscribe_done(int sock) {
  return confd::OnConnection(sock, CDB_SUBSCRIPTION_SOCKET, confd::EndSubscribing);
}

int cdb_read_subscription_socket(int sock, int sub_points[], int* resultlen) {
  return confd::OnConnection(sock, CDB_SUBSCRIPTION_SOCKET, [&](confd::Connection& connection) {
    return confd::ReadNotification(connection, sub_points, resultlen);
  });
}

int cdb_diff_iterate(int sock, int subid,
                     enum confd_iter_ret (*iter)(confd_hkeypath_t* kp, enum confd_iter_op op,
                                                 confd_value_t* oldv, confd_value_t* newv,
                                                 void* state),
                     int flags, void* initstate) {
  return confd::OnConnection(sock, CDB_SUBSCRIPTION_SOCKET, [&](confd::Connection& connection) {
    return confd::Iterate(connection, subid, flags, iter, initstate);
  });
}

int cdb_sync_subscription_socket(int sock, enum cdb_subscription_sync_type st) {
  return confd::OnConnection(sock, CDB_SUBSCRIPTION_SOCKET, [&](confd::Connection& connection) {
    return confd::Sync(connection, st);
  });
}

}  // extern "C"
