#include "subscriber.h"

#include <confd_lib.h>

#include <confd_cdb.h>

#include <algorithm>

#include "announcement.h"
#include "calendar.h"
#include "fail_point.h"
#include "frame.h"
#include "log.h"
#include "status_board.h"

namespace agentd {

using cfm::agent::Request;

Subscriber::~Subscriber() {
  if (done_) {
    CFM_FAIL_POINT(agent_subscriber_lost);
    AGENT_LOG_INFO("subscriber %s is gone", peer_.Describe().c_str());
    services_.announcement.Lost(this);  // first: it may have fallen behind
    services_.subscriptions.Remove(this);
    services_.status.Changed();
  }
}

void Subscriber::Handle(const Request& request) {
  switch (request.request_case()) {
    case Request::kSubscribe:
      return Subscribe(request.subscribe());
    case Request::kSubscribeDone:
      return Done();
    case Request::kSubscriptionSync:
      return Sync(request.subscription_sync());
    default:
      throw ipc::ProtocolError("a request that a subscription connection does not have");
  }
}

void Subscriber::Subscribe(const cfm::agent::Subscribe& request) {
  if (done_) {
    throw ipc::ProtocolError("Subscribe after SubscribeDone");
  }
  CFM_FAIL_POINT(agent_subscribing);
  cfm::agent::Reply reply;
  if (const Problems problems = AddPoint(request); !problems.empty()) {
    AddProblems(problems, reply);
  } else {
    reply.set_subscription_id(points_.back().id);
  }
  SendReply(peer_, std::move(reply));
  CFM_FAIL_POINT(agent_subscribed);
}

Problems Subscriber::AddPoint(const cfm::agent::Subscribe& request) {
  const auto refused = [](const std::string& message, const InstancePath& path,
                          int code = CONFD_ERR_BADPATH) {
    return Problems{{.message = message, .path = TextOf(path), .code = code}};
  };
  auto path = ResolvePath(services_.model, request.path());
  if (!path) {
    return path.Why();
  }
  if ((path->back().schema->flags & LYS_CONFIG_W) == 0) {
    return refused("subscribe: the path is not configuration", *path);
  }
  const bool has_position = std::any_of(path->begin(), path->end(),
                                        [](const PathStep& step) { return bool{step.position}; });
  if (has_position) {
    return refused("subscribe: positions change with every commit and cannot be followed", *path);
  }
  if (request.name_space() != 0 &&
      request.name_space() != services_.model.NamespaceOf(*path->front().schema)) {
    return refused("subscribe: the path is of another namespace", *path);
  }
  if (points_.size() == CDB_MAX_SUBSCRIPTION_POINTS) {
    return refused("subscribe: the connection has " + std::to_string(points_.size()) +
                       " points, which is all that it may have: use another one",
                   *path, CONFD_ERR_PROTOUSAGE);
  }
  points_.push_back({services_.subscriptions.NextPoint(), request.priority(), std::move(*path)});
  return {};
}

void Subscriber::Done() {
  if (done_) {
    throw ipc::ProtocolError("SubscribeDone twice");
  }
  done_ = true;
  since_ = CalendarNow();
  services_.subscriptions.Add(this);
  AGENT_LOG_INFO("subscriber %s listens at %zu points", Describe().c_str(), points_.size());
  CFM_FAIL_POINT(agent_subscriber_ready);
  SendReply(peer_, {});
  services_.status.Changed();
}

void Subscriber::Notify(const cfm::agent::Notification& notification) {
  cfm::agent::FromAgent message;
  *message.mutable_notification() = notification;
  peer_.Send(message);
  notified_ = std::chrono::steady_clock::now();
}

void Subscriber::Sync(const cfm::agent::SubscriptionSync& request) {
  if (request.type() != CDB_DONE_PRIORITY) {
    throw ipc::ProtocolError("SubscriptionSync of an unknown type");
  }
  notified_.reset();
  if (!services_.announcement.Synced(this, request.number())) {
    throw ipc::ProtocolError("SubscriptionSync of no notification that waits for it");
  }
}

void Subscriber::Describe(std::int32_t priority, cfm::agent::SubscriberStatus& status) const {
  status.set_name(peer_.Name());
  status.set_pid(peer_.Pid());
  status.set_priority(priority);
  status.set_since(since_);
  if (notified_) {
    const auto silence = std::chrono::steady_clock::now() - *notified_;
    status.set_silent_seconds(static_cast<std::uint32_t>(
        std::chrono::duration_cast<std::chrono::seconds>(silence).count()));
  }
  for (const SubscribedPoint& point : points_) {
    if (point.priority == priority) {
      status.add_points(TextOf(point.path));
    }
  }
}

}  // namespace agentd
