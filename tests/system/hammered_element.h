// One element with the front ends that hammer it.
#ifndef TESTS_SYSTEM_HAMMERED_ELEMENT_H
#define TESTS_SYSTEM_HAMMERED_ELEMENT_H

#include <poll.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "element.h"
#include "hammer_actors.h"

namespace test {

// Delayed replies of the daemon's, by its log.
struct DelayedReplies {
  std::size_t promised = 0;
  std::size_t given = 0;
};

class HammeredElement {
 public:
  // The element runs, with one MEP that stays and whose id is `mep`, looking
  // out for the MEP `remote`. Throws std::runtime_error.
  HammeredElement(std::uint32_t seed, const std::string& interfaces, int mep, int remote);

  // Adds what there is to wait for.
  void AddTo(std::vector<pollfd>& events) const;
  // Works a file descriptor of AddTo's that is readable; those of others are
  // passed over. Throws std::runtime_error for what is wrong, the end of a
  // process included.
  void Work(int fd);
  void Step(bool may_begin);
  bool IsWaiting() const;
  // Nobody waits: all that the commits brought about has reached the agent,
  // and agent and manager hold exactly what is configured. Throws
  // std::runtime_error.
  void CheckAtRest();
  // Ends the processes in order. Throws std::runtime_error for an end that is
  // not clean and for a fault in a log.
  DelayedReplies Stop();

  const HammerCounts& Counts() const { return scene_.counts; }
  std::string Logs();

 private:
  cfm::agent::Reply Ask(const cfm::agent::Request& request);
  void WorkWatcher() { scene_.view.Take(watcher_->Receive()); }
  void AwaitRecords();
  std::string KeyOfFixedMep() const;
  void AwaitManager();
  void CheckAgent();
  void CheckManager() const;

  Element element_;
  RecordIdentity fixed_mep_;
  HammerScene scene_;
  std::unique_ptr<FrontEnd> watcher_;
  std::unique_ptr<FrontEnd> control_;
  std::vector<std::unique_ptr<HammerActor>> actors_;
};

}  // namespace test

#endif
