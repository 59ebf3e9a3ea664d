// An element whose processes are broken on purpose, and what has to hold again
// afterwards.
#ifndef TESTS_FAILPOINTS_SURVIVORS_H
#define TESTS_FAILPOINTS_SURVIVORS_H

#include <array>
#include <cstddef>
#include <filesystem>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "element.h"

namespace test {

// A configuration as far as the operations of these tests change it.
struct Configured {
  int level = 0;
  int mep = 1;

  bool operator==(const Configured&) const = default;
};

class Survivors {
 public:
  enum class Target { kAgentd, kApp, kManagerd };

  // Starts everything and configures one MEP. The agent waits two seconds for
  // whoever does not answer.
  Survivors();

  Element& Get() { return element_; }
  Process& Of(Target target);
  // Held by whoever has the process stand still or wakes it: of two at once, one
  // would wait for a stop that the other has ended.
  std::mutex& StopsOf(Target target) { return stops_[static_cast<std::size_t>(target)]; }

  // Stop, Launch and AwaitReady.
  void Arm(Target target, const std::string& fail_point);
  // Ends the process by SIGTERM.
  void Stop(Target target);
  // Starts it with that fail point.
  void Launch(Target target, const std::string& fail_point);
  // Unless that process has ended: starts what else has, and waits until what
  // was committed shows in the status. Here and below, of what was not asked to
  // end only cfm-app may have ended by itself, with status 1, and `target`, the
  // process that is broken on purpose, in that way or by SIGKILL.
  void Settle(Target target);
  // Runs a command of cfmctl that waits for something to its end. False when one
  // of the processes ended before that: it might wait in vain.
  bool Await(const std::vector<std::string>& words);
  // Starts a process that does not run; does not wait for it.
  Process& Start(Target target);
  // Ends it unless it has ended: what comes then is nobody's crash. With SIGTERM,
  // or SIGKILL.
  void End(Target target);
  void Kill(Target target);
  // Waits until it is ready and its peers have found it, or it has ended.
  void AwaitReady(Target target);
  // Whether the armed process has come to that point and failed there.
  bool HasFailed(const std::string& fail_point) const;
  // Lines of the armed process's log: the points that it has passed, in the
  // order of the first pass of each, and what has failed.
  std::vector<std::string> Passed() const;

  // Commits another level, or another MEP, and notes what may be running now by
  // what the operator was told.
  void CommitOtherLevel(const std::vector<std::string>& more_arguments = {});
  void CommitOtherMep();
  // For a commit that was done in another way: the exit status of cfmctl.
  Configured WithOtherLevel();
  void Note(const Configured& wanted, int status);

  // Starts what has ended, without a fail point, as a service manager would,
  // until all three processes are there. Then checks that all three agree: the configuration is
  // one that the operator was told of, the manager holds it, and the status
  // lists have exactly its records.
  void ExpectAllIsWell(Target target);

 private:
  static constexpr const char* kLog = "passed-points";

  void StartWhatHasEnded(Target target);
  void ExpectEndIsAllowed(Target each, Target target);
  bool AllAreThere(Target target);
  void ExpectRunningIsKnown();
  bool AwaitStatus();
  void ExpectRecords();
  void ExpectCounters(Target target);
  void ExpectNoFault();

  Element element_;
  std::array<std::mutex, 3> stops_;   // by target
  std::vector<Configured> possible_;  // what may be running
  int next_level_ = 0;
  int arming_ = 0;
  std::set<pid_t> ended_;        // that were asked to end
  std::size_t log_checked_ = 0;  // of the daemon's log, so many bytes
  pid_t agent_checked_ = -1;     // the agent then
};

// agentd, cfm-app, cfm-managerd.
const char* NameOf(Survivors::Target target);

}  // namespace test

#endif
