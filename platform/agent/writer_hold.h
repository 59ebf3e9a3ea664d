// Who alone may create and delete operational entries for a while, so that a
// program can tell what its next deletions will do.
#ifndef AGENT_WRITER_HOLD_H
#define AGENT_WRITER_HOLD_H

#include <functional>
#include <list>

#include "timer.h"

namespace agentd {

class WriterHold {
 public:
  // Stands for the session that asks.
  using Owner = const void*;

  explicit WriterHold(sd_event* loop) : soon_(loop, [this] { Resume(); }) {}

  bool KeepsWaiting(Owner owner) const { return holder_ != nullptr && holder_ != owner; }
  // Only for whoever is not kept waiting.
  void Take(Owner owner) { holder_ = owner; }
  // Calls back once, from the loop, when nobody has it and who came before has
  // had its turn; Release takes it back.
  // What it throws ends the agent: whatever a peer may have got wrong is looked
  // at before it waits.
  void Wait(Owner owner, std::function<void()> resume) {
    waiting_.push_back({owner, std::move(resume)});
  }
  // Whatever the owner has or waits for.
  void Release(Owner owner);

 private:
  struct Waiting {
    Owner owner;
    std::function<void()> resume;
  };

  void Resume();

  Owner holder_ = nullptr;
  std::list<Waiting> waiting_;  // in the order of their coming
  Timer soon_;                  // out of the destructor that lets go
};

}  // namespace agentd

#endif
