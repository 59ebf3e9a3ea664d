// An element whose processes are broken on purpose, and what has to hold again
// afterwards.
#ifndef TESTS_FAILPOINTS_SURVIVORS_H
#define TESTS_FAILPOINTS_SURVIVORS_H

#include <filesystem>
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

  // Starts everything and configures one MEP.
  Survivors();

  Element& Get() { return element_; }
  Process& Of(Target target);

  // Stop, Launch and AwaitReady.
  void Arm(Target target, const std::string& fail_point);
  // Ends the process by SIGTERM.
  void Stop(Target target);
  // Starts it with that fail point.
  void Launch(Target target, const std::string& fail_point);
  // Waits until what was committed shows in the status, or cannot: one of the
  // processes has ended.
  void Settle(Target target);
  // Ends it unless it has ended: what comes then is nobody's crash.
  void Disarm(Target target);
  // Waits until it is ready and its peers have found it, or it has ended.
  void AwaitReady(Target target);
  // The points that the armed process has passed, in the order of the first
  // pass of each.
  std::vector<std::string> Passed() const;

  // Commits another level, or another MEP, and notes what may be running now by
  // what the operator was told.
  void CommitOtherLevel(const std::vector<std::string>& more_arguments = {});
  void CommitOtherMep();
  // For a commit that was done in another way: the exit status of cfmctl.
  Configured WithOtherLevel();
  void Note(const Configured& wanted, int status);

  // Starts what has ended, without a fail point, as a service manager would,
  // until all three processes are there. Then checks that nobody but `target`
  // has been ended by a signal, and that all three agree: the configuration is
  // one that the operator was told of, the manager holds it, and the status
  // lists have exactly its records.
  void ExpectAllIsWell(Target target);

 private:
  static constexpr const char* kLog = "passed-points";

  Process& Start(Target target);
  void StartWhatHasEnded(Target target);
  bool AllAreThere(Target target);
  void ExpectRunningIsKnown();
  void ExpectRecords();
  void ExpectNoFault();

  Element element_;
  std::vector<Configured> possible_;  // what may be running
  int next_level_ = 0;
  int arming_ = 0;
  std::size_t log_checked_ = 0;  // of the daemon's log, so many bytes
  pid_t agent_checked_ = -1;     // the agent then
};

}  // namespace test

#endif
