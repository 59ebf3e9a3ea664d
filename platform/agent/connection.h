// One connection: Hello first, then frames for its role.
#ifndef AGENT_CONNECTION_H
#define AGENT_CONNECTION_H

#include <systemd/sd-event.h>

#include <cstdint>
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
  // The process at the other end; nothing is known of one on the loopback.
  struct Who {
    pid_t pid = 0;
    std::string user{};
    ipc::Access access = ipc::Access::kFull;
  };
  // Destroys the connection of that number.
  using Forget = std::function<void(std::uint64_t number)>;

  Connection(sd_event* loop, ipc::UniqueFd socket, std::uint64_t number, Who who, Origin origin,
             const Services& services, Forget forget);

  void Send(const cfm::agent::FromAgent& message) override;
  void Drop(const std::string& reason) override;
  const std::string& Name() const override { return name_; }
  pid_t Pid() const override { return who_.pid; }
  const std::string& User() const override { return who_.user; }
  bool MayChange() const override { return who_.access == ipc::Access::kFull; }
  std::size_t QueuedBytes() const override { return channel_.QueuedBytes(); }

  // Whether it is of that process, which waits for an answer of the agent.
  bool KeepsWaiting(pid_t pid) const;
  // Whether it is of that process, and others count on the process through it.
  bool IsCountedOn(pid_t pid) const;
  // Adds a program on the ConfD API; a front end asks for that and is none.
  void AddTo(cfm::agent::Status& status) const;

  bool IsAtWork() const;
  void GiveUp();

 private:
  void OnFrame(std::string_view payload);
  void OnHello(const cfm::agent::Hello& hello);
  std::string Objection(const cfm::agent::Hello& hello) const;
  void OnClosed(const std::string& reason);

  Services services_;
  Forget forget_;
  std::uint64_t number_;
  Who who_;
  Origin origin_;
  std::string name_ = "client";
  cfm::agent::Role kind_ = cfm::agent::ROLE_UNSPECIFIED;
  std::uint64_t round_trips_ = 0;
  ipc::Channel channel_;
  std::shared_ptr<Role> role_;  // null before Hello; goes before the channel
};

}  // namespace agentd

#endif
