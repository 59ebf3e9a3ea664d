// One element: the three daemons in a private directory, and the operator's
// command line.
#ifndef TESTS_SYSTEM_ELEMENT_H
#define TESTS_SYSTEM_ELEMENT_H

#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "process.h"
#include "temporary_directory.h"

namespace test {

class Element {
 public:
  // Nothing runs yet. The interface table has the interfaces of docs/example.xml.
  Element();
  // Another table for processes that start from now on.
  void SetInterfaces(const std::string& table);
  // An environment variable of theirs.
  void SetVariable(const std::string& name, const std::string& value);
  void RemoveVariable(const std::string& name);

  // Starts a daemon that does not run; the old log goes on. Does not wait for
  // readiness.
  Process& StartAgent(const std::vector<std::string>& arguments = {});
  Process& StartManager();
  Process& StartDaemon();
  // Another process of the same daemon in the same directories.
  std::unique_ptr<Process> StartSecond(const std::string& name);
  // All three, ready.
  void StartAll();

  Process& Agent() { return *agent_; }
  Process& Manager() { return *manager_; }
  Process& Daemon() { return *daemon_; }
  const Process& Agent() const { return *agent_; }
  const Process& Manager() const { return *manager_; }
  const Process& Daemon() const { return *daemon_; }
  // SIGKILL, and its end.
  void KillAgent() { Kill(agent_); }
  void KillManager() { Kill(manager_); }
  void KillDaemon() { Kill(daemon_); }

  // Runs cfmctl with these arguments.
  CommandResult Cfmctl(const std::vector<std::string>& arguments, const std::string& input = {});
  // Starts cfmctl without waiting for its end; its output is in its log.
  std::unique_ptr<Process> StartCfmctl(const std::vector<std::string>& arguments);
  // `cfmctl verify`: success only when the manager holds what is committed.
  CommandResult Verify() { return Cfmctl({"verify", "--wait", "20"}); }

  const std::filesystem::path& Directory() const { return directory_.Path(); }
  std::filesystem::path RuntimeDirectory() const { return directory_.Path() / "run"; }
  const std::map<std::string, std::string>& Environment() const { return environment_; }

 private:
  Process& Start(std::unique_ptr<Process>& slot, const std::string& name,
                 const std::vector<std::string>& command);
  static void Kill(std::unique_ptr<Process>& process);

  TemporaryDirectory directory_;
  std::map<std::string, std::string> environment_;
  std::unique_ptr<Process> agent_;
  std::unique_ptr<Process> manager_;
  std::unique_ptr<Process> daemon_;
  int commands_ = 0;
};

}  // namespace test

#endif
