// Whether the manager holds what is committed, followed by events: a commit
// reaches the manager shortly after it returned to the operator.
#ifndef TOOLS_CLIENT_VERIFICATION_H
#define TOOLS_CLIENT_VERIFICATION_H

#include <cstdint>
#include <vector>

#include "agent_client.h"
#include "core/expected_hierarchy.h"
#include "core/hierarchy_comparison.h"
#include "manager_observer.h"

namespace cfmctl {

class Verification {
 public:
  // `reader` answers what is committed, `watcher` tells of commits; both are
  // connections with the agent of their own. Throws Failure.
  Verification(AgentClient reader, AgentClient watcher, ManagerObserver manager,
               InterfaceIds interface_ids, std::chrono::milliseconds timeout);

  // Compares until both sides are equal or the deadline passes. Returns the
  // last differences: none when they are equal. Throws Failure when a side
  // goes away, or what is committed has no hierarchy.
  std::vector<Difference> Await(const Deadline& deadline);

  std::uint64_t TransactionId() const { return txid_; }
  const cfm::Hierarchy& Committed() const { return committed_; }

 private:
  void ReadCommitted(std::uint64_t txid);
  void TakeNews();

  AgentClient reader_;
  AgentClient watcher_;
  ManagerObserver manager_;
  InterfaceIds interface_ids_;
  std::uint64_t txid_ = 0;
  cfm::Hierarchy committed_;
  cfm::Hierarchy held_;
};

}  // namespace cfmctl

#endif
