// One element with the three real daemons, an operator's connection with the
// agent and an observer of the CFM manager.
#ifndef BENCH_MEASURED_ELEMENT_H
#define BENCH_MEASURED_ELEMENT_H

#include <agent.pb.h>

#include <array>
#include <memory>
#include <string>
#include <utility>

#include "agent_line.h"
#include "applied_observer.h"
#include "element.h"
#include "loop.h"

namespace bench {

// Seconds from the sending of a commit.
struct CommitTimes {
  double applied = 0;   // the manager has applied it
  double returned = 0;  // the operator is answered
};

class MeasuredElement {
 public:
  // All daemons run, nothing is configured, and the manager was told so.
  MeasuredElement();

  // Commits, and waits for both ends of it.
  CommitTimes Commit(const cfm::agent::Request& commit);
  // A request that changes no configuration, and how many seconds it took.
  cfm::agent::Reply Call(const cfm::agent::Request& request) { return operator_->Call(request); }
  double Time(const cfm::agent::Request& request);

  // Waits until so many status records are published, one at least, and
  // everything that the manager had to say before now is worked: a read of
  // statistics that had to ask the manager is answered after all that.
  void Settle(int records);

  // Ends the daemon and starts it anew; seconds from its start until the
  // manager has its configuration.
  double RestartDaemon();

  // Path of a status record of a local MEP; after Settle.
  const std::string& LocalRecord() const { return local_record_; }

  // Name and process of each daemon.
  std::array<std::pair<std::string, pid_t>, 3> Daemons();
  pid_t AgentPid() { return element_.Agent().Pid(); }
  pid_t ManagerPid() { return element_.Manager().Pid(); }
  pid_t DaemonPid() { return element_.Daemon().Pid(); }

 private:
  Loop loop_;
  test::Element element_;
  std::unique_ptr<AgentLine> operator_;
  std::unique_ptr<AppliedObserver> observer_;
  std::string local_record_;
};

}  // namespace bench

#endif
