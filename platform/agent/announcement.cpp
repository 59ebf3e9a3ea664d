#include "announcement.h"

#include <algorithm>
#include <utility>

#include "change_report.h"
#include "fail_point.h"

namespace agentd {

Announcement::Announcement(sd_event* loop, const Model& model, const Subscriptions& subscriptions,
                           std::chrono::microseconds timeout)
    : model_(model),
      subscriptions_(subscriptions),
      timeout_(timeout),
      timer_(loop, [this] { OnTimeout(); }),
      soon_(loop, [this] { GoOn(); }) {}

void Announcement::Begin(std::uint64_t txid, cfm::agent::Change changes, Done done) {
  txid_ = txid;
  changes_ = std::move(changes);
  priorities_ = PrioritiesOf(subscriptions_.All());
  warnings_.clear();
  done_ = std::move(done);
  NextPriority();
}

void Announcement::NextPriority() {
  while (pending_.empty() && !priorities_.empty()) {
    const std::int32_t priority = *priorities_.begin();
    priorities_.erase(priorities_.begin());
    for (Listener* listener : subscriptions_.All()) {
      if (NotifyOne(*listener, priority)) {
        pending_.push_back(listener);
      }
    }
  }
  if (!pending_.empty()) {
    timer_.Set(timeout_);
    return;
  }
  changes_.Clear();
  timer_.Cancel();
  soon_.Cancel();
  std::exchange(done_, nullptr)(std::exchange(warnings_, {}));
}

std::vector<std::int32_t> Announcement::Touched(const Listener& listener,
                                                std::int32_t priority) const {
  std::vector<std::int32_t> points;
  for (const SubscribedPoint& point : listener.Points()) {
    if (point.priority == priority && Touches(model_, changes_, point.path)) {
      points.push_back(point.id);
    }
  }
  return points;
}

bool Announcement::NotifyOne(Listener& listener, std::int32_t priority) {
  cfm::agent::Notification notification;
  for (const std::int32_t point : Touched(listener, priority)) {
    notification.add_points(point);
  }
  if (notification.points_size() == 0) {
    return false;
  }
  notification.set_txid(txid_);
  *notification.mutable_root() = changes_;
  CFM_FAIL_POINT(agent_notification_sending);
  listener.Notify(notification);
  CFM_FAIL_POINT(agent_notification_sent);
  return true;
}

bool Announcement::Synced(const Listener* listener) {
  if (std::erase(pending_, listener) == 0) {
    return false;
  }
  CFM_FAIL_POINT(agent_commit_synced);
  GoOn();
  return true;
}

void Announcement::Lost(const Listener* listener) {
  if (std::erase(pending_, listener) > 0) {
    warnings_.push_back("subscriber " + listener->Describe() +
                        " was lost before it had dealt with the change; the change is committed");
    soon_.Set(std::chrono::microseconds(0));
  }
}

void Announcement::GiveUp(const std::string& why) {
  for (const Listener* listener : subscriptions_.All()) {
    const bool is_told_later =
        std::any_of(priorities_.begin(), priorities_.end(),
                    [&](std::int32_t priority) { return !Touched(*listener, priority).empty(); });
    if (is_told_later || std::find(pending_.begin(), pending_.end(), listener) != pending_.end()) {
      warnings_.push_back("subscriber " + listener->Describe() +
                          " has not dealt with the change: " + why + "; the change is committed");
    }
  }
  pending_.clear();
  priorities_.clear();
  GoOn();
}

void Announcement::GoOn() {
  if (pending_.empty() && done_) {
    timer_.Cancel();
    soon_.Cancel();
    NextPriority();
  }
}

void Announcement::OnTimeout() {
  CFM_FAIL_POINT(agent_subscriber_given_up);
  // Dropping destroys the listener, which then finds itself not pending.
  for (const Listener* late : std::exchange(pending_, {})) {
    warnings_.push_back("subscriber " + late->Describe() +
                        " did not answer in time and was "
                        "disconnected; the change is committed");
    for (Listener* listener : std::vector<Listener*>(subscriptions_.All())) {
      if (listener == late) {
        listener->Drop("no answer to the notification of commit " + std::to_string(txid_));
        break;
      }
    }
  }
  NextPriority();
}

}  // namespace agentd
