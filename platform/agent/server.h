// The agent's doors: who comes in and becomes a connection.
#ifndef AGENT_SERVER_H
#define AGENT_SERVER_H

#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "connection.h"
#include "loopback_listener.h"

namespace agentd {

class Server {
 public:
  struct Doors {
    std::filesystem::path path;
    std::string view_group;             // whose members may look
    std::optional<std::uint16_t> port;  // of 127.0.0.1, for programs on the ConfD API
  };

  // Throws std::system_error.
  Server(sd_event* loop, const Doors& doors, const Services& services);

  // Adds the programs that are connected.
  void AddTo(cfm::agent::Status& status) const;
  // Connections with something in work or replies that have not left, for
  // people; nothing when there are none.
  std::string Unfinished() const;
  // The agent ends now: whoever waits for a reply is told.
  void GiveUp();
  // Whether the process waits for an answer that the agent holds back.
  bool KeepsWaiting(pid_t pid) const;
  // The process is given up: its connections that others count on are closed.
  // Those on which it only asks or writes stay, for it may go on yet. `why`
  // completes a sentence that begins with the program.
  void Lose(pid_t pid, const std::string& why);

 private:
  void Accept(ipc::UniqueFd socket, const ipc::Peer& peer);
  void Add(ipc::UniqueFd socket, Connection::Who who, Connection::Origin origin);

  sd_event* loop_;
  ipc::Owner owner_;
  Services services_;
  std::uint64_t last_connection_ = 0;
  std::map<std::uint64_t, std::unique_ptr<Connection>> connections_;  // in the order of coming
  ipc::Listener listener_;
  std::optional<LoopbackListener> loopback_;
};

}  // namespace agentd

#endif
