#include "commit_queue.h"

#include <exception>
#include <utility>

#include "fail_point.h"
#include "frame.h"
#include "log.h"
#include "while_set.h"

namespace agentd {
namespace {

// A notification has to fit a frame, with some room for what is around it.
constexpr std::size_t kMostChangeBytes = ipc::kMaxFrameBytes - 65536;

Problem Ending() {
  return {.message = "commit: agentd is ending; nothing was changed: try again when it is back"};
}

bool IsAbandoned(const CommitRequest& request) {
  return request.owner == nullptr;
}

// Nobody is there to read this: it is for the log.
Problem Abandoned(const CommitRequest& request) {
  AGENT_LOG_INFO("commit from %s is dropped: who asked is gone; nothing was changed",
                 request.origin.c_str());
  return {.message = "commit: who asked is gone; nothing was changed"};
}

}  // namespace

CommitQueue::CommitQueue(sd_event* loop, Datastore& datastore, LockTable& locks,
                         Announcement& announcement, std::chrono::microseconds patience)
    : datastore_(datastore),
      locks_(locks),
      announcement_(announcement),
      patience_(patience),
      timer_(loop, [this] { OnImpatience(); }),
      soon_(loop, [this] { OnSoon(); }) {
  locks_.OnFree([this] {
    if (state_ == State::kWaitingForLocks) {
      soon_.Set(std::chrono::microseconds(0));
    }
  });
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
  const WhileSet advancing(advancing_);
  while (state_ == State::kIdle && !queue_.empty()) {
    Start();
  }
}

// Whatever fails here must cost this commit only, not those that wait.
Problems CommitQueue::Prepare() {
  if (IsAbandoned(queue_.front())) {
    return {Abandoned(queue_.front())};
  }
  try {
    Result<Draft> draft = queue_.front().make();
    if (!draft) {
      return draft.Why();
    }
    CFM_FAIL_POINT(agent_commit_edited);
    Result<Prepared> prepared = datastore_.Prepare(std::move(*draft));
    if (!prepared) {
      return prepared.Why();
    }
    if (const std::size_t size = prepared->changes.ByteSizeLong(); size > kMostChangeBytes) {
      return {{.message = "commit: the change takes " + std::to_string(size) +
                          " bytes to tell the subscribers, and at most " +
                          std::to_string(kMostChangeBytes) +
                          " can be told at once; nothing was changed: commit it in parts"}};
    }
    CFM_FAIL_POINT(agent_commit_validated);
    prepared_ = std::move(*prepared);
    return {};
  } catch (const std::exception& error) {
    return {{.message = std::string("commit: ") + error.what() + "; nothing was changed"}};
  }
}

void CommitQueue::Start() {
  if (Problems problems = Prepare(); !problems.empty()) {
    CFM_FAIL_POINT(agent_commit_refused);
    Finish({.problems = std::move(problems)});
    return;
  }
  if (prepared_->difference->IsEmpty()) {
    Finish({.nothing_changed = true});
    return;
  }
  if (locks_.IsFree()) {
    Carry();
    return;
  }
  AGENT_LOG_INFO("commit from %s waits for the lock of %s", queue_.front().origin.c_str(),
                 locks_.Holders().c_str());
  Enter(State::kWaitingForLocks);
  timer_.Set(patience_);
  CFM_FAIL_POINT(agent_commit_waiting);
}

void CommitQueue::Carry() {
  Prepared prepared = std::exchange(prepared_, std::nullopt).value();
  Problems problems = datastore_.Publish(prepared);
  if (!problems.empty()) {
    CFM_FAIL_POINT(agent_commit_failed);
    AGENT_LOG_ERROR("commit from %s failed: %s", queue_.front().origin.c_str(),
                    problems.front().message.c_str());
    Finish({.problems = std::move(problems)});
    return;
  }
  const std::uint64_t txid = datastore_.Running()->Txid();
  AGENT_LOG_INFO("commit %llu from %s is on disk", static_cast<unsigned long long>(txid),
                 queue_.front().origin.c_str());
  Enter(State::kAnnouncing);
  announcement_.Begin(txid, std::move(prepared.changes), [this](std::vector<std::string> warnings) {
    OnAnnounced(std::move(warnings));
  });
}

void CommitQueue::OnAnnounced(std::vector<std::string> warnings) {
  CFM_FAIL_POINT(agent_commit_announced);
  for (const std::string& warning : warnings) {
    AGENT_LOG_WARNING("%s", warning.c_str());
  }
  Finish({.warnings = std::move(warnings)});
  Advance();
}

void CommitQueue::OnSoon() {
  if (state_ != State::kWaitingForLocks) {
    return;
  }
  if (IsAbandoned(queue_.front())) {
    Finish({.problems = {Abandoned(queue_.front())}});
  } else if (locks_.IsFree()) {
    timer_.Cancel();
    Carry();
  }
  Advance();
}

void CommitQueue::Abandon(const void* owner) {
  for (CommitRequest& request : queue_) {
    request.owner = request.owner == owner ? nullptr : request.owner;
  }
  soon_.Set(std::chrono::microseconds(0));
}

std::string CommitQueue::Unfinished() const {
  return IsBusy() && IsAbandoned(queue_.front()) ? "the commit from " + queue_.front().origin : "";
}

void CommitQueue::OnImpatience() {
  if (locks_.IsFree()) {
    return OnSoon();
  }
  const std::string holders = locks_.Holders();
  Finish({.problems = {{.message = "commit: the configuration stayed locked by " + holders +
                                   "; nothing was changed: try again, or stop that program"}}});
  Advance();
}

void CommitQueue::Finish(CommitResult result) {
  const CommitRequest request = std::move(queue_.front());
  queue_.pop_front();
  timer_.Cancel();
  prepared_.reset();
  Enter(State::kIdle);
  CFM_FAIL_POINT(agent_locks_granting);
  locks_.GrantWaiting();
  Answer(request, std::move(result));
}

void CommitQueue::Answer(const CommitRequest& request, CommitResult result) {
  result.txid = datastore_.Running()->Txid();
  try {
    request.done(result);
  } catch (const std::exception& error) {
    // Whoever asked cannot be answered; the commits that wait have no part in that.
    AGENT_LOG_ERROR("answer to the commit from %s: %s", request.origin.c_str(), error.what());
  }
}

void CommitQueue::RefuseWaiting() {
  while (queue_.size() > 1) {
    const CommitRequest request = std::move(queue_.back());
    queue_.pop_back();
    Answer(request, {.problems = {Ending()}});
  }
}

void CommitQueue::GiveUp() {
  if (state_ == State::kWaitingForLocks) {
    Finish({.problems = {Ending()}});
  } else if (state_ == State::kAnnouncing) {
    announcement_.GiveUp("agentd is ending");
  }
}

void CommitQueue::Enter(State state) {
  const bool changed = state != state_;
  state_ = state;
  locks_.SetAwaited(state == State::kWaitingForLocks);
  if (changed && on_progress_) {
    on_progress_();
  }
}

}  // namespace agentd
