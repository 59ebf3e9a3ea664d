// The connection object that the handlers see: what VelConfdCdbSessionBase
// opens its sessions on.
#ifndef VELCONFD_VELCONFD_INTERFACE_H
#define VELCONFD_VELCONFD_INTERFACE_H

#include <event_source.h>

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "cdb_socket.h"

// Knows the agent's address and whether the framework is connected, and keeps
// data sockets for the handlers' sessions apart from the framework's own, so
// that neither meets the other's session. A socket carries one session at a
// time; a session inside another one gets a socket of its own. Sockets are
// connected when they are first needed and kept for the next session.
class VelConfdInterface {
 public:
  // Throws std::length_error for a path that is too long for a socket.
  VelConfdInterface(const std::filesystem::path& agent_socket, const char* name);

  const velconfd::AgentAddress& Agent() const { return agent_; }

  // While not connected no session begins. Going down closes the idle
  // sockets; one in use is closed when its session ends.
  void SetConnected(bool connected);

  // Called, out of EndSession and BeginSession, when a session's connection was
  // lost while connected, or none came about: what was written in it, or would
  // have been, may be lost.
  void OnLostSession(std::function<void()> on_lost) { on_lost_session_ = std::move(on_lost); }
  // Watches a socket that lies idle, for as long as the source lives. What was
  // sent last in a session has no answer, so its loss shows there.
  using IdleWatch = std::function<ipc::EventSource(int fd)>;
  void WatchIdle(IdleWatch watch) { watch_idle_ = std::move(watch); }

  // Socket with a new session on `database`, or -1.
  int BeginSession(cdb_db_type database) noexcept;
  // `socket` comes from BeginSession.
  void EndSession(int socket) noexcept;

 private:
  struct Lease {
    velconfd::CdbSocket socket;
    bool reusable;
  };

  struct Idle {
    velconfd::CdbSocket socket;
    ipc::EventSource watch;
  };

  velconfd::CdbSocket SocketWithSession(cdb_db_type database);
  void TellLoss() noexcept;

  velconfd::AgentAddress agent_;
  bool connected_ = false;
  std::function<void()> on_lost_session_ = [] {};
  IdleWatch watch_idle_ = [](int) { return ipc::EventSource(); };
  std::vector<Idle> idle_;
  std::vector<Lease> leased_;
};

#endif
