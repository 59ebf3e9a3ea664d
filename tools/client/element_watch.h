// Which of the element's processes are there, followed by events: files that
// appear in the runtime directory, the agent's status, the manager's
// configuration.
#ifndef TOOLS_CLIENT_ELEMENT_WATCH_H
#define TOOLS_CLIENT_ELEMENT_WATCH_H

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>

#include "agent_client.h"
#include "directory_watch.h"
#include "manager_observer.h"

namespace cfmctl {

// One side of the element: what it says, or why there is nothing.
template <typename Client, typename Content>
struct Part {
  std::optional<Client> client;
  std::optional<Content> content;
  std::string absence;
};

class ElementWatch {
 public:
  // Tries both at once; neither has to be there. A process that accepts a
  // connection has `timeout` to answer. Throws std::system_error when the
  // directory cannot be watched.
  ElementWatch(std::filesystem::path agent_socket, std::filesystem::path manager_socket,
               std::chrono::milliseconds timeout);

  const std::optional<cfm::agent::Status>& Agent() const { return agent_.content; }
  const std::optional<HeldHierarchy>& Manager() const { return manager_.content; }
  const std::string& AgentAbsence() const { return agent_.absence; }
  const std::string& ManagerAbsence() const { return manager_.absence; }

  // Waits until something may have changed; false when the deadline passed.
  bool AwaitChange(const Deadline& deadline);

 private:
  void Refresh();

  std::filesystem::path agent_socket_;
  std::filesystem::path manager_socket_;
  std::chrono::milliseconds timeout_;
  DirectoryWatch directory_;
  Part<AgentClient, cfm::agent::Status> agent_;
  Part<ManagerObserver, HeldHierarchy> manager_;
};

}  // namespace cfmctl

#endif
