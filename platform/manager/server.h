// The manager's side of the socket: who is connected, who configures, and what
// everybody is told.
#ifndef CFM_MANAGER_SERVER_H
#define CFM_MANAGER_SERVER_H

#include <systemd/sd-event.h>

#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "held_configuration.h"
#include "listener.h"
#include "log_category.h"
#include "manager.pb.h"
#include "session.h"

namespace cfm {

class Server {
 public:
  // Listens at `socket`; `held` is borrowed. Throws std::system_error.
  Server(sd_event* loop, const std::filesystem::path& socket, const ipc::Owner& owner,
         HeldConfiguration& held, const LogCategory& log);

  Server(const Server&) = delete;
  Server& operator=(const Server&) = delete;

 private:
  void Accept(ipc::UniqueFd socket, const ipc::Peer& peer);
  Session::Handlers SessionHandlers();
  void Welcome(Session& session);
  void TakeOver(Session& session);
  void Apply(Session& session, const manager::Configuration& configuration);
  void End(Session& session, const std::string& reason);
  std::vector<Session*> Observers() const;
  // Sends what is in force.
  void ShowTo(const std::vector<Session*>& observers);

  sd_event* loop_;
  ipc::Owner owner_;
  HeldConfiguration& held_;
  LogCategory log_;
  std::map<const Session*, std::unique_ptr<Session>> sessions_;
  Session* configurer_ = nullptr;  // in sessions_; null: nobody configures
  ipc::Listener listener_;
};

}  // namespace cfm

#endif
