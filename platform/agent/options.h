// Command line of agentd.
#ifndef AGENT_OPTIONS_H
#define AGENT_OPTIONS_H

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

#include "vigil.h"

namespace agentd {

struct Options {
  std::filesystem::path runtime_dir;
  std::filesystem::path state_dir;
  std::filesystem::path yang_dir;
  // How long a subscriber may take over a notification, and a commit may wait
  // for a lock.
  std::chrono::microseconds subscriber_timeout{std::chrono::seconds(10)};
  // How long a data provider may take over a request.
  std::chrono::microseconds provider_timeout{std::chrono::seconds(10)};
  // How long the agent finishes what is in work when it is asked to end.
  std::chrono::microseconds end_timeout{std::chrono::seconds(1)};
  HeartbeatRules heartbeat;
  std::optional<std::uint16_t> port;
  std::string view_group = "cfm-view";  // whose members may look
};

// Options, or the exit status of a process that has nothing more to do (help,
// version, a mistake; each has been printed).
struct ParsedOptions {
  Options options;
  std::optional<int> exit_status;
};
ParsedOptions ParseOptions(int argc, char** argv);

}  // namespace agentd

#endif
