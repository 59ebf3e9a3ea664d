// The manager's side of the socket: who is connected, who configures, and what
// everybody is told.
#ifndef CFM_MANAGER_SERVER_H
#define CFM_MANAGER_SERVER_H

#include <systemd/sd-event.h>

#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "continuity_check.h"
#include "held_configuration.h"
#include "listener.h"
#include "log_category.h"
#include "manager.pb.h"
#include "session.h"
#include "status_feed.h"

namespace cfm {

class Server {
 public:
  // Listens at `socket`; `held` and `check` are borrowed. Throws
  // std::system_error.
  Server(sd_event* loop, const std::filesystem::path& socket, const ipc::Owner& owner,
         HeldConfiguration& held, ContinuityCheck& check, const LogCategory& log);
  ~Server();

  Server(const Server&) = delete;
  Server& operator=(const Server&) = delete;

 private:
  void Accept(ipc::UniqueFd socket, const ipc::Peer& peer);
  Session::Handlers SessionHandlers();
  void Welcome(Session& session);
  void TakeOver(Session& session);
  // Messages of the one that configures.
  void Work(Session& session, const manager::FromClient& message);
  void Apply(Session& session, const manager::Configuration& configuration);
  engine::Effects ApplyHeld(const std::set<std::string>& touched);
  void Resend(std::uint64_t number);
  void Clear(const manager::ClearStatistics& request);
  void Report(const engine::Effect& effect);
  void Drained(Session& session);
  // Takes on more work only when the answers to the last have left.
  void PaceConfigurer();
  void End(Session& session, const std::string& reason);
  std::vector<Session*> Observers() const;
  // Sends what is in force.
  void ShowTo(const std::vector<Session*>& observers);

  sd_event* loop_;
  ipc::Owner owner_;
  HeldConfiguration& held_;
  ContinuityCheck& check_;
  LogCategory log_;
  std::map<const Session*, std::unique_ptr<Session>> sessions_;
  Session* configurer_ = nullptr;   // in sessions_; null: nobody configures
  std::optional<StatusFeed> feed_;  // of the configurer
  // What a configuration causes while it is applied, but for removals.
  std::optional<engine::Effects> withheld_;
  ipc::Listener listener_;
};

}  // namespace cfm

#endif
