#include "server.h"

#include <fmt/format.h>

#include <exception>
#include <utility>

#include "frame.h"
#include "hierarchy_codec.h"

namespace cfm {
namespace {

manager::FromManager ConfigurationMessage(const HeldConfiguration& held) {
  manager::FromManager message;
  manager::Configuration& configuration = *message.mutable_configuration();
  configuration.set_number(held.Number());
  EncodeHierarchy(held.Get(), configuration);
  return message;
}

manager::FromManager AppliedMessage(const HeldConfiguration& held) {
  manager::FromManager message;
  manager::Applied& applied = *message.mutable_applied();
  applied.set_number(held.Number());
  for (const std::string& warning : held.Warnings()) {
    applied.add_warnings(warning);
  }
  return message;
}

// Tells a peer that may not connect why; it may be gone already.
void TurnAway(int socket, const std::string& reason) {
  manager::HelloReply reply;
  reply.set_error(reason);
  try {
    ipc::SendFrame(socket, reply);
  } catch (const std::exception&) {
    return;
  }
}

}  // namespace

Server::Server(sd_event* loop, const std::filesystem::path& socket, const ipc::Owner& owner,
               HeldConfiguration& held, const LogCategory& log)
    : loop_(loop),
      owner_(owner),
      held_(held),
      log_(log),
      listener_(loop, socket, SD_EVENT_PRIORITY_NORMAL,
                [this](ipc::UniqueFd connection, const ipc::Peer& peer) {
                  Accept(std::move(connection), peer);
                }) {}

void Server::Accept(ipc::UniqueFd socket, const ipc::Peer& peer) {
  if (!ipc::MayConnect(peer, owner_)) {
    const std::string reason = fmt::format(
        "process {} of user {} and group {} may not use the CFM manager: run it as root, as user "
        "{} or with group {}",
        peer.pid, peer.uid, peer.gid, owner_.uid, owner_.gid);
    log_.Warning("connection refused: " + reason);
    TurnAway(socket.Get(), reason);
    return;
  }
  auto session = std::make_unique<Session>(loop_, std::move(socket), peer, SessionHandlers());
  const Session* key = session.get();
  sessions_.emplace(key, std::move(session));
}

Session::Handlers Server::SessionHandlers() {
  return {
      .on_welcome = [this](Session& session) { Welcome(session); },
      .on_configuration =
          [this](Session& session, const manager::Configuration& configuration) {
            Apply(session, configuration);
          },
      .on_end = [this](Session& session, const std::string& reason) { End(session, reason); },
  };
}

void Server::Welcome(Session& session) {
  if (session.GetRole() == manager::ROLE_CONFIGURE) {
    TakeOver(session);
  } else {
    ShowTo({&session});
  }
}

void Server::TakeOver(Session& session) {
  if (configurer_ != nullptr) {
    log_.Warning(fmt::format("{} configures from now on; the connection of {} is closed",
                             session.Text(), configurer_->Text()));
    sessions_.erase(configurer_);
  } else {
    log_.Info(session.Text() + " configures from now on");
  }
  configurer_ = &session;
}

void Server::Apply(Session& session, const manager::Configuration& configuration) {
  const HierarchyChanges changes =
      held_.Replace(configuration.number(), DecodeHierarchy(configuration));
  log_.Info(fmt::format("{} of {}", AppliedText(held_, changes), session.Text()));
  session.Send(AppliedMessage(held_));
  ShowTo(Observers());
}

void Server::End(Session& session, const std::string& reason) {
  if (&session == configurer_) {
    configurer_ = nullptr;
    log_.Warning(fmt::format("lost {}: {}; configuration {} stays in force", session.Text(), reason,
                             held_.Number()));
  } else {
    log_.Info(fmt::format("connection of {} ended: {}", session.Text(), reason));
  }
  sessions_.erase(&session);
}

std::vector<Session*> Server::Observers() const {
  std::vector<Session*> observers;
  for (const auto& [key, session] : sessions_) {
    if (session->GetRole() == manager::ROLE_OBSERVE) {
      observers.push_back(session.get());
    }
  }
  return observers;
}

void Server::ShowTo(const std::vector<Session*>& observers) {
  if (observers.empty()) {
    return;  // the common case, and the messages are as large as the configuration
  }
  const manager::FromManager configuration = ConfigurationMessage(held_);
  const manager::FromManager applied = AppliedMessage(held_);
  for (Session* observer : observers) {
    observer->Send(configuration);
    observer->Send(applied);
  }
}

}  // namespace cfm
