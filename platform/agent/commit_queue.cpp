#include "commit_queue.h"

#include <utility>

#include "log.h"

namespace agentd {

CommitQueue::CommitQueue(sd_event* loop, Datastore& datastore, LockTable& locks,
                         Announcement& announcement, std::chrono::microseconds patience)
    : datastore_(datastore),
      locks_(locks),
      announcement_(announcement),
      patience_(patience),
      timer_(loop, [this] { OnImpatience(); }) {
  locks_.OnFree([this] { OnLocksFree(); });
}

void CommitQueue::Add(CommitRequest request) {
  queue_.push_back(std::move(request));
  Advance();
}

// A loop and no recursion: a commit that ends at once makes way for the next.
void CommitQueue::Advance() {
  if (advancing_) {
    return;
  }
  advancing_ = true;
  while (state_ == State::kIdle && !queue_.empty()) {
    Start();
  }
  advancing_ = false;
}

void CommitQueue::Start() {
  Result<Tree> tree = queue_.front().make();
  if (!tree) {
    Finish({.problems = tree.Why()});
    return;
  }
  Result<Prepared> prepared = datastore_.Prepare(std::move(*tree));
  if (!prepared) {
    Finish({.problems = prepared.Why()});
    return;
  }
  if (prepared->difference->IsEmpty()) {
    Finish({});
    return;
  }
  prepared_ = std::move(*prepared);
  if (locks_.IsFree()) {
    Carry();
    return;
  }
  AGENT_LOG_INFO("commit from %s waits for the lock of %s", queue_.front().origin.c_str(),
                 locks_.Holders().c_str());
  Enter(State::kWaitingForLocks);
  timer_.Set(patience_);
}

void CommitQueue::Carry() {
  const cfm::agent::Change changes = prepared_->difference->Changes();
  Problems problems = datastore_.Publish(std::exchange(prepared_, std::nullopt).value());
  if (!problems.empty()) {
    AGENT_LOG_ERROR("commit from %s failed: %s", queue_.front().origin.c_str(),
                    problems.front().message.c_str());
    Finish({.problems = std::move(problems)});
    return;
  }
  const std::uint64_t txid = datastore_.Running()->Txid();
  AGENT_LOG_INFO("commit %llu from %s is on disk", static_cast<unsigned long long>(txid),
                 queue_.front().origin.c_str());
  Enter(State::kAnnouncing);
  announcement_.Begin(txid, changes, [this](std::vector<std::string> warnings) {
    for (const std::string& warning : warnings) {
      AGENT_LOG_WARNING("%s", warning.c_str());
    }
    Finish({.problems = {}, .warnings = std::move(warnings)});
    Advance();
  });
}

void CommitQueue::OnLocksFree() {
  if (state_ == State::kWaitingForLocks) {
    timer_.Cancel();
    Carry();
    Advance();
  }
}

void CommitQueue::OnImpatience() {
  const std::string holders = locks_.Holders();
  prepared_.reset();
  Finish({.problems = {{.message = "commit: the configuration stayed locked by " + holders +
                                   "; nothing was changed: try again, or stop that program"}}});
  Advance();
}

void CommitQueue::Finish(CommitResult result) {
  const CommitRequest request = std::move(queue_.front());
  queue_.pop_front();
  Enter(State::kIdle);
  result.txid = datastore_.Running()->Txid();
  locks_.GrantWaiting();
  request.done(result);
}

void CommitQueue::Enter(State state) {
  const bool changed = state != state_;
  state_ = state;
  if (changed && on_progress_) {
    on_progress_();
  }
}

}  // namespace agentd
