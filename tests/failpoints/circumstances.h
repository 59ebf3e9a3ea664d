// Circumstances in which an operation takes place: a commit that is in
// progress, a process that stands still or is away.
#ifndef TESTS_FAILPOINTS_CIRCUMSTANCES_H
#define TESTS_FAILPOINTS_CIRCUMSTANCES_H

#include <memory>

#include "survivors.h"

namespace test {

void AwaitCommitInProgress(Element& element);
// When it returns the agent has seen what was sent to it before.
void PassTheLoop(Element& element);

// Begins a commit of another level, which the destructor waits for and notes.
class CommitInBackground {
 public:
  explicit CommitInBackground(Survivors& survivors);
  ~CommitInBackground();

  CommitInBackground(const CommitInBackground&) = delete;
  CommitInBackground& operator=(const CommitInBackground&) = delete;

 private:
  Survivors& survivors_;
  Configured wanted_;
  std::unique_ptr<Process> cfmctl_;
};

// The process stands still for as long as this lives.
class Frozen {
 public:
  explicit Frozen(Process& process) : process_(process) { process_.Freeze(); }
  ~Frozen();

  Frozen(const Frozen&) = delete;
  Frozen& operator=(const Frozen&) = delete;

 private:
  Process& process_;
};

// There is no manager for as long as this lives.
class ManagerAway {
 public:
  explicit ManagerAway(Survivors& survivors) : survivors_(survivors) {
    survivors_.Get().KillManager();
  }
  ~ManagerAway() { survivors_.Start(Survivors::Target::kManagerd); }

  ManagerAway(const ManagerAway&) = delete;
  ManagerAway& operator=(const ManagerAway&) = delete;

 private:
  Survivors& survivors_;
};

}  // namespace test

#endif
