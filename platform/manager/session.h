// One connection to the manager, from its Hello to its end.
#ifndef CFM_MANAGER_SESSION_H
#define CFM_MANAGER_SESSION_H

#include <channel.h>
#include <listener.h>
#include <systemd/sd-event.h>

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

#include "manager.pb.h"

namespace cfm {

class Session {
 public:
  // Each may destroy the session.
  struct Handlers {
    // The peer is welcome and its role is known.
    std::function<void(Session&)> on_welcome;
    // Only from a peer that configures. A ProtocolError ends the session.
    std::function<void(Session&, const manager::FromClient&)> on_message;
    // What was queued has left.
    std::function<void(Session&)> on_drained;
    // It is over; `reason` for a log line. Not called for a session that the
    // owner destroys.
    std::function<void(Session&, const std::string& reason)> on_end;
  };

  // `access` is not kNone. Throws std::system_error.
  Session(sd_event* loop, ipc::UniqueFd socket, const ipc::Peer& peer, ipc::Access access,
          Handlers handlers);

  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  // ROLE_UNSPECIFIED until the peer was welcome.
  manager::Role GetRole() const { return role_; }
  // An observer that wants to know when, but not what.
  bool WantsAppliedOnly() const { return applied_only_; }
  // For log lines: the name that the peer gave itself, and its process.
  std::string Text() const;
  // Never blocks.
  void Send(const manager::FromManager& message) { channel_.Send(message); }
  // Whether the peer leaves so much unread that more had better wait.
  bool IsBackedUp() const { return channel_.QueuedBytes() > kBackedUpBytes; }
  // Stops (false) or resumes (true) taking messages.
  void SetReading(bool reading) { channel_.SetReading(reading); }

 private:
  static constexpr std::size_t kBackedUpBytes = 64U << 10;

  void OnFrame(std::string_view payload);
  void OnHello(std::string_view payload);
  void OnMessage(std::string_view payload);

  ipc::Peer peer_;
  ipc::Access access_;
  std::string name_;
  manager::Role role_ = manager::ROLE_UNSPECIFIED;
  bool applied_only_ = false;
  Handlers handlers_;
  ipc::Channel channel_;
};

}  // namespace cfm

#endif
