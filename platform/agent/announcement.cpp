#include "announcement.h"

#include <iterator>
#include <utility>

#include "change_report.h"
#include "fail_point.h"

namespace agentd {

Announcement::Announcement(sd_event* loop, const Model& model, Subscriptions& subscriptions,
                           Heartbeat& heartbeat, std::chrono::microseconds timeout)
    : model_(model),
      subscriptions_(subscriptions),
      heartbeat_(heartbeat),
      timeout_(timeout),
      timer_(loop, [this] { OnTimeout(); }),
      soon_(loop, [this] { GoOn(); }) {}

void Announcement::Begin(std::uint64_t txid, cfm::agent::Change changes, Done done) {
  txid_ = txid;
  changes_ = std::move(changes);
  warnings_ = subscriptions_.Behind(model_, changes_);
  done_ = std::move(done);
  for (Listener* listener : subscriptions_.All()) {
    AddParts(*listener);
  }
  NextPriority();
}

void Announcement::AddParts(Listener& listener) {
  for (const SubscribedPoint& point : listener.Points()) {
    if (Touches(model_, changes_, point.path)) {
      std::vector<Part>& parts = to_come_[point.priority];
      if (parts.empty() || parts.back().listener != &listener) {
        parts.push_back({&listener, {}});
      }
      parts.back().points.push_back(point.id);
    }
  }
}

void Announcement::NextPriority() {
  if (pending_.empty() && !to_come_.empty()) {
    const auto next = to_come_.extract(to_come_.begin());
    for (const Part& part : next.mapped()) {
      Notify(part);
    }
    timer_.Set(timeout_);
    return;
  }
  changes_.Clear();
  timer_.Cancel();
  soon_.Cancel();
  std::exchange(done_, nullptr)(std::exchange(warnings_, {}));
}

void Announcement::Notify(const Part& part) {
  cfm::agent::Notification notification;
  notification.mutable_points()->Assign(part.points.begin(), part.points.end());
  notification.set_txid(txid_);
  notification.set_number(++last_number_);
  *notification.mutable_root() = changes_;
  Listener* listener = part.listener;
  pending_.push_back({listener, last_number_});
  heartbeat_.Await(listener, listener->Pid(),
                   [this, listener](const std::string& why) { GiveUp(listener, why); });
  CFM_FAIL_POINT(agent_notification_sending);
  listener->Notify(notification);
  CFM_FAIL_POINT(agent_notification_sent);
}

bool Announcement::Synced(const Listener* listener, std::uint64_t number) {
  const auto is_meant = [&](const Pending& each) {
    return each.listener == listener && each.number == number;
  };
  if (std::erase_if(pending_, is_meant) == 0) {
    return false;
  }
  CFM_FAIL_POINT(agent_commit_synced);
  heartbeat_.Release(listener);
  GoOn();
  return true;
}

bool Announcement::Forget(const Listener* listener) {
  heartbeat_.Release(listener);
  std::size_t parts =
      std::erase_if(pending_, [&](const Pending& each) { return each.listener == listener; });
  for (auto priority = to_come_.begin(); priority != to_come_.end();) {
    parts += std::erase_if(priority->second,
                           [&](const Part& each) { return each.listener == listener; });
    priority = priority->second.empty() ? to_come_.erase(priority) : std::next(priority);
  }
  if (parts > 0) {
    subscriptions_.FallBehind(listener);
  }
  return parts > 0;
}

void Announcement::Lost(const Listener* listener) {
  if (Forget(listener)) {
    warnings_.push_back("subscriber " + listener->Describe() +
                        " was lost before it had dealt with the change; the change is committed");
    soon_.Set(std::chrono::microseconds(0));
  }
}

void Announcement::GiveUp(const std::string& why) {
  for (const Listener* listener : subscriptions_.All()) {
    if (Forget(listener)) {
      warnings_.push_back("subscriber " + listener->Describe() +
                          " has not dealt with the change: " + why + "; the change is committed");
    }
  }
  GoOn();
}

void Announcement::GoOn() {
  if (pending_.empty() && done_) {
    timer_.Cancel();
    soon_.Cancel();
    NextPriority();
  }
}

// Dropping destroys the listener, which then finds itself forgotten. It goes on
// later: the same program may have other connections, which are about to be
// closed, and nothing is to be announced to those.
void Announcement::GiveUp(Listener* listener, const std::string& why) {
  CFM_FAIL_POINT(agent_subscriber_given_up);
  Forget(listener);
  warnings_.push_back("subscriber " + listener->Describe() + " " + why +
                      " and was disconnected; the change is committed");
  listener->Drop("notified of commit " + std::to_string(txid_) + ", it " + why);
  soon_.Set(std::chrono::microseconds(0));
}

void Announcement::OnTimeout() {
  for (const Pending& late : std::vector<Pending>(pending_)) {
    GiveUp(late.listener, "did not answer in time");
  }
}

}  // namespace agentd
