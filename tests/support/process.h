// Child processes of a test, awaited by event: readiness through the service
// manager's notification socket, the end through a pidfd.
#ifndef TESTS_SUPPORT_PROCESS_H
#define TESTS_SUPPORT_PROCESS_H

#include <sys/types.h>

#include <chrono>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "unique_fd.h"

namespace test {

// How long an awaited event may take before the test fails. Generous, because
// it only matters when something is broken.
inline constexpr std::chrono::seconds kPatience{30};

class Process {
 public:
  struct Options {
    std::map<std::string, std::string> environment;  // added to the test's own
    std::filesystem::path directory;                 // where its notification socket and its log go
    std::string name;                                // of those files
  };

  // Starts `command`. Standard output and error go to directory/name.log.
  Process(const std::vector<std::string>& command, const Options& options);
  // Kills what still runs.
  ~Process();

  Process(const Process&) = delete;
  Process& operator=(const Process&) = delete;

  // Whether the process reported READY=1. False when it ended instead or
  // patience ran out.
  bool AwaitReady() { return AwaitNotification("READY=1"); }
  // The same for any notification to the service manager that holds the text.
  bool AwaitNotification(const std::string& wanted);
  // Exit status, or 128 plus the signal that ended it; nothing when it still
  // runs after kPatience.
  std::optional<int> AwaitExit();
  // Waits until it stands still. False when it ended instead. Another thread
  // may wait as well.
  bool AwaitStop() const;
  void Signal(int signal);
  // SIGSTOP; returns when the process stands still. SIGCONT ends it.
  void Freeze();
  // SIGTERM, then AwaitExit.
  std::optional<int> Stop();
  pid_t Pid() const { return pid_; }
  // Readable once the process has ended.
  int EndFd() const { return pidfd_.Get(); }
  // AwaitExit without waiting.
  std::optional<int> Status();
  // Readable when the process has told its service manager something, which
  // IsReady takes: whether READY=1 was among it so far.
  int ReadyFd() const { return notify_.Get(); }
  bool IsReady();
  std::string Log() const;
  int CountInLog(const std::string& text) const;
  // Waits until the log holds the text that many times. False when the process
  // ended before or patience ran out.
  bool AwaitLog(const std::string& text, int times = 1) const;

 private:
  friend Process* AwaitFirst(const std::vector<Process*>& processes);

  pid_t pid_ = -1;
  ipc::UniqueFd pidfd_;
  ipc::UniqueFd notify_;
  std::filesystem::path notify_path_;
  std::filesystem::path log_path_;
  std::optional<int> status_;
  bool ready_ = false;
};

// Waits until one of them has ended, and returns the first in the list that
// has. Null when patience ran out.
Process* AwaitFirst(const std::vector<Process*>& processes);

// Outcome of a command that was run to its end.
struct CommandResult {
  int status = -1;     // as Process::AwaitExit
  std::string output;  // standard output
  std::string error;   // standard error
};

// Runs `command` with `input` on its standard input.
CommandResult Run(const std::vector<std::string>& command,
                  const std::map<std::string, std::string>& environment = {},
                  const std::string& input = {});

}  // namespace test

#endif
