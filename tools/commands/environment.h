// What a command works with besides its own arguments.
#ifndef TOOLS_COMMANDS_ENVIRONMENT_H
#define TOOLS_COMMANDS_ENVIRONMENT_H

#include <chrono>
#include <filesystem>
#include <istream>
#include <optional>
#include <ostream>
#include <string>

#include "client/agent_client.h"
#include "client/manager_observer.h"

namespace cfmctl {

struct Environment {
  std::istream& in;
  std::ostream& out;
  std::ostream& err;
  std::string runtime_dir;                     // of the element
  std::optional<double> timeout_seconds = {};  // as it was given

  // For each answer.
  std::chrono::milliseconds Timeout() const;
  // For a look at a process that may hang: short, unless a time was given.
  std::chrono::milliseconds LookTimeout() const;
  std::filesystem::path AgentSocket() const;
  std::filesystem::path ManagerSocket() const;
  AgentClient ConnectAgent() const { return {AgentSocket(), Timeout()}; }
  ManagerObserver ConnectManager() const { return {ManagerSocket(), Timeout()}; }
};

// Durations are given in seconds, with fractions.
std::chrono::milliseconds ToMilliseconds(double seconds);

}  // namespace cfmctl

#endif
