// Which read sessions hold commits up, and which wait for a commit to end.
#ifndef AGENT_LOCK_TABLE_H
#define AGENT_LOCK_TABLE_H

#include <sys/types.h>

#include <functional>
#include <string>
#include <vector>

#include "heartbeat.h"

namespace agentd {

class LockTable {
 public:
  // Stands for the session that asks.
  using Owner = const void*;

  explicit LockTable(Heartbeat& heartbeat) : heartbeat_(heartbeat) {}

  // For one that has none. `pid` is the process that will let go; 0 when that is
  // not known, or the process is watched by who takes the lock.
  void Take(Owner owner, std::string name, pid_t pid = 0);
  // Calls back once when GrantWaiting is called; Release takes it back.
  void Wait(Owner owner, std::function<void()> granted) {
    waiting_.push_back({owner, std::move(granted)});
  }
  // Whatever the owner has or waits for.
  void Release(Owner owner);
  void GrantWaiting();

  // Whether a commit waits for the holders: as long as one does, programs that
  // stand still are given up.
  void SetAwaited(bool awaited);

  bool IsFree() const { return holders_.empty(); }
  bool IsHeldBy(Owner owner) const;
  std::string Holders() const;

  // Called when the last lock goes.
  void OnFree(std::function<void()> on_free) { on_free_ = std::move(on_free); }

 private:
  struct Holder {
    Owner owner;
    std::string name;
    pid_t pid;
  };
  struct Waiting {
    Owner owner;
    std::function<void()> granted;
  };

  void Watch(const Holder& holder);
  void StopWatching(const Holder& holder);

  Heartbeat& heartbeat_;
  bool awaited_ = false;
  // In the order of their coming.
  std::vector<Holder> holders_;
  std::vector<Waiting> waiting_;
  std::function<void()> on_free_;
};

}  // namespace agentd

#endif
