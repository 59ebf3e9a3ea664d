// Which read sessions hold commits up, and which wait for a commit to end.
#ifndef AGENT_LOCK_TABLE_H
#define AGENT_LOCK_TABLE_H

#include <functional>
#include <string>
#include <vector>

namespace agentd {

class LockTable {
 public:
  // Stands for the session that asks.
  using Owner = const void*;

  // For one that has none.
  void Take(Owner owner, std::string name) { holders_.push_back({owner, std::move(name)}); }
  // Calls back once when GrantWaiting is called; Release takes it back.
  void Wait(Owner owner, std::function<void()> granted) {
    waiting_.push_back({owner, std::move(granted)});
  }
  // Whatever the owner has or waits for.
  void Release(Owner owner);
  void GrantWaiting();

  bool IsFree() const { return holders_.empty(); }
  std::string Holders() const;

  // Called when the last lock goes.
  void OnFree(std::function<void()> on_free) { on_free_ = std::move(on_free); }

 private:
  struct Holder {
    Owner owner;
    std::string name;
  };
  struct Waiting {
    Owner owner;
    std::function<void()> granted;
  };

  // In the order of their coming.
  std::vector<Holder> holders_;
  std::vector<Waiting> waiting_;
  std::function<void()> on_free_;
};

}  // namespace agentd

#endif
