// Commits, one after the other. Each is made from the running configuration
// of its turn: edited, validated and compared; then it waits until no session
// holds a lock, goes to disk, becomes the running state, and is announced to
// the subscribers; then whoever asked is answered.
#ifndef AGENT_COMMIT_QUEUE_H
#define AGENT_COMMIT_QUEUE_H

#include <chrono>
#include <deque>
#include <functional>
#include <optional>
#include <string>

#include "announcement.h"
#include "datastore.h"
#include "deadline.h"
#include "lock_table.h"
#include "timer.h"

namespace agentd {

struct CommitResult {
  Problems problems{};  // none: it is committed, or changes nothing
  std::vector<std::string> warnings{};
  std::uint64_t txid = 0;
  bool nothing_changed = false;
};

struct CommitRequest {
  const void* owner = nullptr;          // stands for who asks
  std::string origin;                   // who asks, for the log
  std::function<Result<Draft>()> make;  // what to commit; called at its turn
  std::function<void(const CommitResult&)> done;
};

class CommitQueue {
 public:
  // A commit that waits longer than `patience` for a lock is refused.
  CommitQueue(sd_event* loop, Datastore& datastore, LockTable& locks, Announcement& announcement,
              std::chrono::microseconds patience);

  void Add(CommitRequest request);

  // Who asked is gone: what of its commits is not on disk comes to nothing, and
  // is told to `done` later.
  void Abandon(const void* owner);
  // The agent is about to end: commits whose turn has not come are refused.
  void RefuseWaiting();
  // It ends now: the commit in work is refused, or its end is told as it is.
  void GiveUp();

  // Whether a commit changes the running state now: from the moment that it
  // is written until its subscribers are done.
  bool IsChanging() const { return state_ == State::kAnnouncing; }
  bool IsBusy() const { return state_ != State::kIdle; }
  // The commit in work when nobody waits for its reply, for people; else empty.
  std::string Unfinished() const;

  // Called whenever IsBusy or the running state changes.
  void OnProgress(std::function<void()> on_progress) { on_progress_ = std::move(on_progress); }

 private:
  enum class State { kIdle, kWaitingForLocks, kAnnouncing };

  void Advance();
  void Start();
  Problems Prepare();
  void Carry();
  void OnAnnounced(std::vector<std::string> warnings);
  void OnSoon();
  void OnImpatience();
  void Finish(CommitResult result);
  void Answer(const CommitRequest& request, CommitResult result);
  void Enter(State state);

  Datastore& datastore_;
  LockTable& locks_;
  Announcement& announcement_;
  std::chrono::microseconds patience_;
  Deadline timer_;
  // Goes on when the locks or the front end are gone, out of the destructor that
  // tells of it.
  Timer soon_;
  std::function<void()> on_progress_;

  State state_ = State::kIdle;
  bool advancing_ = false;
  std::deque<CommitRequest> queue_;   // the first is the one in work
  std::optional<Prepared> prepared_;  // of the commit in work
};

}  // namespace agentd

#endif
