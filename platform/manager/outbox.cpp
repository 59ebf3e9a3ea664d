#include "outbox.h"

#include <utility>

#include "fail_point.h"

namespace cfm {

void Outbox::PutStatus(const RecordName& record, manager::FromManager message) {
  const auto older = waiting_status_.find(record);
  if (older != waiting_status_.end()) {
    if (older->second->removals_before == removals_) {
      older->second->message = std::move(message);
      return;
    }
    waiting_.erase(older->second);
    waiting_status_.erase(older);
  }
  Enqueue({std::move(message), record, removals_});
}

void Outbox::PutRemoval(const RecordName& record) {
  if (const auto older = waiting_status_.find(record); older != waiting_status_.end()) {
    waiting_.erase(older->second);
    waiting_status_.erase(older);
  }
  if (shown_.erase(record) == 0) {
    return;
  }
  CFM_FAIL_POINT(manager_removal_sending);
  ++removals_;
  manager::FromManager message;
  EncodeName(record, *message.mutable_removed());
  Put(std::move(message));
  CFM_FAIL_POINT(manager_removal_sent);
}

void Outbox::Put(manager::FromManager message) {
  Enqueue({std::move(message), std::nullopt, removals_});
}

void Outbox::Enqueue(Entry entry) {
  if (waiting_.empty() && !line_.is_full()) {
    SendNow(entry);
    return;
  }
  const auto place = waiting_.insert(waiting_.end(), std::move(entry));
  if (place->status_of) {
    waiting_status_.emplace(*place->status_of, place);
  }
}

void Outbox::SendNow(const Entry& entry) {
  if (entry.status_of) {
    shown_.insert(*entry.status_of);
  }
  line_.send(entry.message);
}

void Outbox::Flush() {
  while (!waiting_.empty() && !line_.is_full()) {
    SendNow(waiting_.front());
    if (waiting_.front().status_of) {
      waiting_status_.erase(*waiting_.front().status_of);
    }
    waiting_.pop_front();
  }
}

}  // namespace cfm
