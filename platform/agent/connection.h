// One connection: Hello first, then frames for its role.
#ifndef AGENT_CONNECTION_H
#define AGENT_CONNECTION_H

#include <systemd/sd-event.h>

#include <functional>
#include <memory>
#include <string>

#include "channel.h"
#include "listener.h"
#include "role.h"

namespace agentd {

class Connection : public Peer {
 public:
  // Where it came in says what it may be.
  enum class Origin { kLocalSocket, kLoopback };
  // Destroys the connection.
  using Forget = std::function<void(Connection* connection)>;

  Connection(sd_event* loop, ipc::UniqueFd socket, pid_t pid, Origin origin,
             const Services& services, Forget forget);

  void Send(const cfm::agent::FromAgent& message) override { channel_.Send(message); }
  void Drop(const std::string& reason) override;
  const std::string& Name() const override { return name_; }
  pid_t Pid() const override { return pid_; }

 private:
  void OnFrame(std::string_view payload);
  void OnHello(const cfm::agent::Hello& hello);
  std::string Objection(const cfm::agent::Hello& hello) const;
  void OnClosed(const std::string& reason);

  Services services_;
  Forget forget_;
  pid_t pid_;
  Origin origin_;
  std::string name_ = "client";
  ipc::Channel channel_;
  std::shared_ptr<Role> role_;  // null before Hello; goes before the channel
};

}  // namespace agentd

#endif
