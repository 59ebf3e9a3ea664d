// The agent's directories, each for one agent.
#ifndef AGENT_DIRECTORY_LOCKS_H
#define AGENT_DIRECTORY_LOCKS_H

#include <filesystem>
#include <optional>

#include "instance_lock.h"

namespace agentd {

class DirectoryLocks {
 public:
  // Makes directories that are missing and takes both locks. Throws as
  // ipc::InstanceLock does; another agent in one of the directories leaves no
  // new one behind.
  DirectoryLocks(const std::filesystem::path& runtime, const std::filesystem::path& state);

 private:
  std::optional<ipc::InstanceLock> runtime_;
  std::optional<ipc::InstanceLock> state_;
};

}  // namespace agentd

#endif
