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
  // Knows of nobody yet. A process that accepts a connection has `timeout` to
  // answer.
  ElementWatch(std::filesystem::path agent_socket, std::filesystem::path manager_socket,
               std::chrono::milliseconds timeout);

  const std::optional<cfm::agent::Status>& Agent() const { return agent_.content; }
  const std::optional<HeldHierarchy>& Manager() const { return manager_.content; }
  const std::string& AgentAbsence() const { return agent_.absence; }
  const std::string& ManagerAbsence() const { return manager_.absence; }

  // Look whether they are there; neither has to be.
  void LookAtAgent();
  void LookAtManager();
  // Waits until something may have changed, at first not at all, and looks at
  // both; false when the deadline passed. Throws std::system_error when the
  // directory cannot be watched.
  bool AwaitChange(const Deadline& deadline);

 private:
  // When to look even if nothing shows.
  Deadline NextLook(const Deadline& deadline) const;

  std::filesystem::path agent_socket_;
  std::filesystem::path manager_socket_;
  std::chrono::milliseconds timeout_;
  std::optional<DirectoryWatch> directory_;  // from the first AwaitChange on
  Part<AgentClient, cfm::agent::Status> agent_;
  Part<ManagerObserver, HeldHierarchy> manager_;
};

}  // namespace cfmctl

#endif
