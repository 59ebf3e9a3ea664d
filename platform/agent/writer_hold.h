// Who alone may create and delete operational entries for a while, so that a
// program can tell what its next deletions will do.
#ifndef AGENT_WRITER_HOLD_H
#define AGENT_WRITER_HOLD_H

#include <sys/types.h>

#include <functional>
#include <list>
#include <string>

#include "heartbeat.h"
#include "timer.h"

namespace agentd {

class WriterHold {
 public:
  // Stands for the session that asks.
  using Owner = const void*;

  WriterHold(sd_event* loop, Heartbeat& heartbeat)
      : heartbeat_(heartbeat), soon_(loop, [this] { Resume(); }) {}

  bool KeepsWaiting(Owner owner) const { return holder_ != nullptr && holder_ != owner; }
  bool IsHeldBy(Owner owner) const { return holder_ == owner; }
  // Only for whoever is not kept waiting. `pid` is the process that will let go (0:
  // not known): as long as others wait for it, it is given up when it stands still.
  void Take(Owner owner, std::string name, pid_t pid);
  // Calls back once, from the loop, when nobody has it and who came before has
  // had its turn; Release takes it back.
  // What it throws ends the agent: whatever a peer may have got wrong is looked
  // at before it waits.
  void Wait(Owner owner, std::function<void()> resume);
  // Whatever the owner has or waits for.
  void Release(Owner owner);

 private:
  struct Waiting {
    Owner owner;
    std::function<void()> resume;
  };

  void Resume();
  void Watch();

  Heartbeat& heartbeat_;
  Owner holder_ = nullptr;
  std::string name_;  // of the holder
  pid_t pid_ = 0;
  bool watching_ = false;
  std::list<Waiting> waiting_;  // in the order of their coming
  Timer soon_;                  // out of the destructor that lets go
};

}  // namespace agentd

#endif
