// Where the processes of one element meet. Each element has its own runtime
// directory, so several can run on one machine.
#ifndef IPC_PATHS_H
#define IPC_PATHS_H

#include <filesystem>

namespace ipc {

// $CFM_RUNTIME_DIR, or /run/cfm: sockets and locks.
std::filesystem::path RuntimeDirectory();
// $CFM_STATE_DIR, or /var/lib/cfm: the running configuration.
std::filesystem::path StateDirectory();
// $CFM_INTERFACES, or /etc/cfm/interfaces: the interface table.
std::filesystem::path InterfaceTablePath();

inline std::filesystem::path AgentSocket() {
  return RuntimeDirectory() / "agentd.sock";
}
inline std::filesystem::path ManagerSocket() {
  return RuntimeDirectory() / "cfm-managerd.sock";
}

}  // namespace ipc

#endif
