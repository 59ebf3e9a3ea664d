// Circumstances in which an operation takes place: a commit that is in
// progress, a process that stands still or is away.
#ifndef TESTS_FAILPOINTS_CIRCUMSTANCES_H
#define TESTS_FAILPOINTS_CIRCUMSTANCES_H

#include <memory>
#include <mutex>

#include "survivors.h"

namespace test {

// When it returns the agent has seen what was sent to it before.
void PassTheLoop(Element& element);

// Begins a commit of another level, which the destructor waits for and notes.
class CommitInBackground {
 public:
  explicit CommitInBackground(Survivors& survivors);
  ~CommitInBackground();

  // Waits until it is in progress; throws when it is over before that.
  void AwaitProgress();

  CommitInBackground(const CommitInBackground&) = delete;
  CommitInBackground& operator=(const CommitInBackground&) = delete;

 private:
  Survivors& survivors_;
  Configured wanted_;
  std::unique_ptr<Process> cfmctl_;
};

// A process of the element stands still for as long as this lives.
class Frozen {
 public:
  Frozen(Survivors& survivors, Survivors::Target target);
  ~Frozen();

  Frozen(const Frozen&) = delete;
  Frozen& operator=(const Frozen&) = delete;

 private:
  std::unique_lock<std::mutex> lock_;
  Process& process_;
};

// There is no manager for as long as this lives.
class ManagerAway {
 public:
  explicit ManagerAway(Survivors& survivors) : survivors_(survivors) {
    survivors_.Kill(Survivors::Target::kManagerd);
  }
  ~ManagerAway() { survivors_.Start(Survivors::Target::kManagerd); }

  ManagerAway(const ManagerAway&) = delete;
  ManagerAway& operator=(const ManagerAway&) = delete;

 private:
  Survivors& survivors_;
};

}  // namespace test

#endif
