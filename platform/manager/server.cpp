#include "server.h"

#include <fmt/format.h>

#include <exception>
#include <limits>
#include <optional>
#include <utility>
#include <variant>

#include "fail_point.h"
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

bool IsRemoval(const engine::Effect& effect) {
  return std::holds_alternative<engine::LocalRemoved>(effect) ||
         std::holds_alternative<engine::RemoteRemoved>(effect);
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
               HeldConfiguration& held, ContinuityCheck& check, const LogCategory& log)
    : loop_(loop),
      owner_(owner),
      held_(held),
      check_(check),
      log_(log),
      listener_(
          loop, socket, SD_EVENT_PRIORITY_NORMAL,
          [this](ipc::UniqueFd connection, const ipc::Peer& peer) {
            Accept(std::move(connection), peer);
          },
          ipc::SocketMode(owner_)) {
  check_.SetListener([this](const engine::Effect& effect) { Report(effect); });
}

Server::~Server() {
  check_.SetListener([](const engine::Effect&) {});
}

void Server::Accept(ipc::UniqueFd socket, const ipc::Peer& peer) {
  const ipc::Access access = ipc::AccessOf(peer, owner_);
  if (access == ipc::Access::kNone) {
    const std::string reason = fmt::format(
        "process {} of user {} and group {} may not use the CFM manager: run it as root, as user "
        "{} or with group {}{}",
        peer.pid, peer.uid, peer.gid, owner_.uid, ipc::GroupName(owner_.gid),
        owner_.view_gid ? ", or to observe only, with group " + ipc::GroupName(*owner_.view_gid)
                        : std::string());
    log_.Warning("connection refused: " + reason);
    TurnAway(socket.Get(), reason);
    return;
  }
  auto session =
      std::make_unique<Session>(loop_, std::move(socket), peer, access, SessionHandlers());
  const Session* key = session.get();
  sessions_.emplace(key, std::move(session));
  CFM_FAIL_POINT(manager_accepted);
}

Session::Handlers Server::SessionHandlers() {
  return {
      .on_welcome = [this](Session& session) { Welcome(session); },
      .on_message = [this](Session& session,
                           const manager::FromClient& message) { Work(session, message); },
      .on_drained = [this](Session& session) { Drained(session); },
      .on_end = [this](Session& session, const std::string& reason) { End(session, reason); },
  };
}

void Server::Welcome(Session& session) {
  if (session.GetRole() == manager::ROLE_CONFIGURE) {
    TakeOver(session);
  } else {
    ShowTo({&session});
    CFM_FAIL_POINT(manager_observer_shown);
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
  feed_.emplace(Outbox::Line{
      .send = [&session](const manager::FromManager& message) { session.Send(message); },
      .is_full = [&session] { return session.IsBackedUp(); }});
  CFM_FAIL_POINT(manager_taken_over);
}

void Server::Work(Session& session, const manager::FromClient& message) {
  switch (message.message_case()) {
    case manager::FromClient::kConfiguration:
      Apply(session, message.configuration());
      break;
    case manager::FromClient::kRequestStatistics:
      CFM_FAIL_POINT(manager_statistics_received);
      feed_->SendStatistics(message.request_statistics().number(), check_.Statistics());
      break;
    case manager::FromClient::kClearStatistics:
      Clear(message.clear_statistics());
      break;
    case manager::FromClient::kResendStatus:
      Resend(message.resend_status().number());
      break;
    case manager::FromClient::MESSAGE_NOT_SET:
      break;  // no session passes it on
  }
  PaceConfigurer();
}

void Server::Apply(Session& session, const manager::Configuration& configuration) {
  CFM_FAIL_POINT(manager_configuration_received);
  const Replacement replacement = held_.Replace(configuration);
  CFM_FAIL_POINT(manager_configuration_kept);
  const engine::Effects reports = ApplyHeld(replacement.mds);
  log_.Info(fmt::format("{} of {}", AppliedText(held_, replacement.changes), session.Text()));
  CFM_FAIL_POINT(manager_configuration_applied);
  feed_->SendApplied(held_.Number(), held_.Warnings());
  CFM_FAIL_POINT(manager_applied_sent);
  ShowTo(Observers());
  CFM_FAIL_POINT(manager_configuration_shown);
  if (feed_->Begin()) {
    CFM_FAIL_POINT(manager_status_beginning);
    check_.ReportAll();
    CFM_FAIL_POINT(manager_status_begun);
    return;
  }
  for (const engine::Effect& report : reports) {
    feed_->Take(report);
  }
}

// Removals are told at once, before the answer, for whoever sees the answer may
// count on them. What else it causes is returned, to be told afterwards.
engine::Effects Server::ApplyHeld(const std::set<std::string>& touched) {
  try {
    withheld_.emplace();
    held_.AddWarnings(check_.Apply(held_.Get(), touched));
    return std::exchange(withheld_, std::nullopt).value();
  } catch (...) {
    withheld_.reset();
    throw;
  }
}

void Server::Resend(std::uint64_t number) {
  CFM_FAIL_POINT(manager_resending);
  feed_->SendResendStarts(number);
  if (feed_->HasBegun()) {
    check_.ReportAll();
  }
  CFM_FAIL_POINT(manager_resent);
}

void Server::Clear(const manager::ClearStatistics& request) {
  if (request.mep() > std::numeric_limits<std::uint16_t>::max()) {
    throw ipc::ProtocolError(
        fmt::format("statistics of MEP {} are to be cleared: no MEP has that id", request.mep()));
  }
  CFM_FAIL_POINT(manager_clearing);
  check_.ClearStatistics(request.md(), request.ma(), static_cast<std::uint16_t>(request.mep()));
  CFM_FAIL_POINT(manager_cleared);
}

void Server::Report(const engine::Effect& effect) {
  if (withheld_ && !IsRemoval(effect)) {
    withheld_->push_back(effect);
  } else if (feed_) {
    feed_->Take(effect);
    PaceConfigurer();
  }
}

void Server::Drained(Session& session) {
  if (&session == configurer_) {
    feed_->Flush();
    PaceConfigurer();
  }
}

void Server::PaceConfigurer() {
  configurer_->SetReading(feed_->IsUpToDate());
}

void Server::End(Session& session, const std::string& reason) {
  if (&session == configurer_) {
    CFM_FAIL_POINT(manager_configurer_lost);
    configurer_ = nullptr;
    feed_.reset();
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

// The messages are as large as the configuration: each is made once, and only
// when somebody wants it.
void Server::ShowTo(const std::vector<Session*>& observers) {
  if (observers.empty()) {
    return;
  }
  const manager::FromManager applied = AppliedMessage(held_);
  std::optional<manager::FromManager> configuration;
  for (Session* observer : observers) {
    if (!observer->WantsAppliedOnly()) {
      if (!configuration) {
        configuration = ConfigurationMessage(held_);
      }
      observer->Send(*configuration);
    }
    observer->Send(applied);
  }
}

}  // namespace cfm
