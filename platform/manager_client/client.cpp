// cfm::Client on the manager's local socket: puts the parts together and turns
// what happens to the connection into notifications.
#include "cfm/client.h"

#include <fmt/format.h>
#include <velmidware_loop.h>

#include <algorithm>
#include <cstdint>
#include <exception>
#include <string>
#include <utility>

#include "cleared_statistics.h"
#include "configuration_queue.h"
#include "fail_point.h"
#include "frame.h"
#include "log_category.h"
#include "manager_connection.h"
#include "node_name.h"
#include "paths.h"
#include "statistics_requests.h"
#include "status_codec.h"
#include "status_relay.h"

namespace cfm {
namespace {

// More warnings than these are the manager's to show.
constexpr int kWarningsLogged = 5;

std::string WarningText(const manager::Applied& applied) {
  std::string text = fmt::format("the CFM manager took configuration {} with {} warning(s)",
                                 applied.number(), applied.warnings_size());
  for (int i = 0; i < std::min(kWarningsLogged, applied.warnings_size()); ++i) {
    text += (i == 0 ? ": " : "; ") + LogText(applied.warnings(i));
  }
  if (applied.warnings_size() > kWarningsLogged) {
    text += "; ...";
  }
  return text;
}

// Is told of the agent's state for as long as it lives.
class AgentStateListener {
 public:
  AgentStateListener(velmw_t* middleware, velmw::AgentStateHandler handler)
      : middleware_(middleware),
        registration_(velmw::OnAgentState(middleware, std::move(handler))) {}
  ~AgentStateListener() { velmw::ForgetAgentState(middleware_, registration_); }

  AgentStateListener(const AgentStateListener&) = delete;
  AgentStateListener& operator=(const AgentStateListener&) = delete;

 private:
  velmw_t* middleware_;
  int registration_;
};

}  // namespace

class Client::Impl {
 public:
  Impl(velmw_t* middleware, ReceivedInformationHandler* receiver);

  Impl(const Impl&) = delete;
  Impl& operator=(const Impl&) = delete;

  int ApplyConfiguration(const Hierarchy& domains) noexcept;
  int RequestStatistics() noexcept;
  int ClearStatistics(const char* md, const char* ma, unsigned short mep) noexcept;

 private:
  ManagerConnection::Handlers ConnectionHandlers();
  void OnMessage(const manager::FromManager& message);
  void OnApplied(const manager::Applied& applied);
  void OnLocalStatus(const manager::LocalStatus& message);
  void OnRemoteStatus(const manager::RemoteStatus& message);
  void OnRemoved(const manager::MepName& message);
  void OnLocalStatistics(const manager::LocalStatistics& message);
  void OnRemoteStatistics(const manager::RemoteStatistics& message);
  void OnStatisticsFinished(std::uint64_t number);
  void OnAgentState(velmw::AgentState state) noexcept;
  void OnAgentBack();
  void OnLost() noexcept;
  void Invalidate() noexcept;
  void Finish() noexcept;
  void TellZeros(const RecordName& name);
  template <typename Call>
  void Notify(Call call) noexcept;
  // Runs a request of the user; what goes wrong with it is for the log.
  template <typename Step>
  int Guarded(const char* what, Step step) noexcept;
  void Fail(const std::string& reason) noexcept;

  velmw_t* middleware_;
  ReceivedInformationHandler* receiver_;
  LogCategory log_{"cfm_mgr_client"};
  bool connected_ = false;
  ClearedStatistics cleared_;
  StatisticsRequests requests_;
  StatusRelay relay_;
  ConfigurationQueue configurations_;
  ManagerConnection connection_;
  AgentStateListener agent_state_;
};

Client::Impl::Impl(velmw_t* middleware, ReceivedInformationHandler* receiver)
    : middleware_(middleware),
      receiver_(receiver),
      requests_(velmw::EventLoop(middleware), [this] { Finish(); }),
      relay_(requests_),
      configurations_([this](const manager::FromClient& message) { connection_.Send(message); }),
      connection_(velmw::EventLoop(middleware), ipc::ManagerSocket(), log_, ConnectionHandlers()),
      agent_state_(middleware, [this](velmw::AgentState state) { OnAgentState(state); }) {
  receiver_->HandleStatusInvalidated();
}

// From the manager -----------------------------------------------------------

ManagerConnection::Handlers Client::Impl::ConnectionHandlers() {
  return {.on_welcome =
              [this] {
                requests_.CompleteNow();  // those that nobody was there for
                relay_.ManagerFound();
                connected_ = true;
                configurations_.Connected();
              },
          .on_message = [this](const manager::FromManager& message) { OnMessage(message); },
          .on_lost = [this] { OnLost(); },
          .on_failure = [this](const std::string& reason) { Fail(reason); }};
}

void Client::Impl::OnMessage(const manager::FromManager& message) {
  switch (message.message_case()) {
    case manager::FromManager::kApplied:
      return OnApplied(message.applied());
    case manager::FromManager::kLocalStatus:
      return OnLocalStatus(message.local_status());
    case manager::FromManager::kRemoteStatus:
      return OnRemoteStatus(message.remote_status());
    case manager::FromManager::kRemoved:
      return OnRemoved(message.removed());
    case manager::FromManager::kLocalStatistics:
      return OnLocalStatistics(message.local_statistics());
    case manager::FromManager::kRemoteStatistics:
      return OnRemoteStatistics(message.remote_statistics());
    case manager::FromManager::kStatisticsFinished:
      return OnStatisticsFinished(message.statistics_finished().number());
    case manager::FromManager::kResendStarts:
      CFM_FAIL_POINT(client_resend_started);
      return relay_.ResendStarts(message.resend_starts().number());
    case manager::FromManager::kConfiguration:
    case manager::FromManager::MESSAGE_NOT_SET:
      break;
  }
  throw ipc::ProtocolError("a message that is not for a configuring client");
}

void Client::Impl::OnApplied(const manager::Applied& applied) {
  if (applied.warnings_size() > 0) {
    log_.Warning(WarningText(applied));
  }
  configurations_.Applied(applied.number());
}

void Client::Impl::OnLocalStatus(const manager::LocalStatus& message) {
  CFM_FAIL_POINT(client_status_received);
  relay_.Status([this, status = Decode(message)] {
    CFM_FAIL_POINT(client_status_delivering);
    Notify([&] {
      cleared_.Published(status.name);
      receiver_->HandleStatusLocalMep(status.name.md, status.name.ma, status.name.mep,
                                      status.record);
    });
    CFM_FAIL_POINT(client_status_delivered);
  });
}

void Client::Impl::OnRemoteStatus(const manager::RemoteStatus& message) {
  CFM_FAIL_POINT(client_status_received);
  relay_.Status([this, status = Decode(message)] {
    CFM_FAIL_POINT(client_status_delivering);
    Notify([&] {
      cleared_.Published(status.name);
      receiver_->HandleStatusRemoteMep(status.name.md, status.name.ma, status.name.mep,
                                       status.name.remote, status.record);
    });
    CFM_FAIL_POINT(client_status_delivered);
  });
}

void Client::Impl::OnRemoved(const manager::MepName& message) {
  CFM_FAIL_POINT(client_removal_received);
  relay_.Removal([this, name = DecodeName(message)] {
    CFM_FAIL_POINT(client_removal_delivering);
    Notify([&] {
      cleared_.Removed(name);
      if (name.remote == 0) {
        receiver_->HandleRemovedLocalMep(name.md, name.ma, name.mep);
      } else {
        receiver_->HandleRemovedRemoteMep(name.md, name.ma, name.mep, name.remote);
      }
    });
    CFM_FAIL_POINT(client_removal_delivered);
  });
}

void Client::Impl::OnLocalStatistics(const manager::LocalStatistics& message) {
  CFM_FAIL_POINT(client_statistics_received);
  const Named<st_lmep_stats> statistics = Decode(message);
  cleared_.Told(statistics.name);
  Notify([&] {
    receiver_->HandleStatisticsLocalMep(statistics.name.md, statistics.name.ma, statistics.name.mep,
                                        statistics.record);
  });
}

void Client::Impl::OnRemoteStatistics(const manager::RemoteStatistics& message) {
  CFM_FAIL_POINT(client_statistics_received);
  const Named<st_rmep_stats> statistics = Decode(message);
  cleared_.Told(statistics.name);
  Notify([&] {
    receiver_->HandleStatisticsRemoteMep(statistics.name.md, statistics.name.ma,
                                         statistics.name.mep, statistics.name.remote,
                                         statistics.record);
  });
}

void Client::Impl::OnStatisticsFinished(std::uint64_t number) {
  requests_.Answered(number);
  relay_.Proceed();
}

void Client::Impl::OnLost() noexcept {
  CFM_FAIL_POINT(client_manager_lost);
  connected_ = false;
  configurations_.Disconnected();
  relay_.ManagerLost();
  Invalidate();
}

// From the agent -------------------------------------------------------------

void Client::Impl::OnAgentState(velmw::AgentState state) noexcept {
  try {
    if (state == velmw::AgentState::kUp) {
      OnAgentBack();
    } else {
      CFM_FAIL_POINT(client_agent_lost);
      relay_.AgentWentAway();
      // While the records of waiting reads are there: an invalidation that could
      // not be carried out is, before the agent is announced again.
      requests_.CompleteNow();
    }
  } catch (const std::exception& error) {
    Fail(std::string("cannot have all status sent again: ") + error.what());
  }
}

// What was published before cannot be relied on.
void Client::Impl::OnAgentBack() {
  const std::uint64_t number = relay_.AgentCameBack();
  Invalidate();
  manager::FromClient message;
  message.mutable_resend_status()->set_number(number);
  connection_.Send(message);
  CFM_FAIL_POINT(client_resend_requested);
}

// To the receiver ------------------------------------------------------------

void Client::Impl::Invalidate() noexcept {
  CFM_FAIL_POINT(client_invalidating);
  requests_.CompleteNow();
  cleared_.NothingIsPublished();
  Notify([this] { receiver_->HandleStatusInvalidated(); });
  CFM_FAIL_POINT(client_invalidated);
}

void Client::Impl::Finish() noexcept {
  CFM_FAIL_POINT(client_statistics_finishing);
  Notify([this] {
    for (const RecordName& name : cleared_.Take()) {
      TellZeros(name);
    }
    receiver_->HandleStatisticsFinished();
  });
  CFM_FAIL_POINT(client_statistics_finished);
}

void Client::Impl::TellZeros(const RecordName& name) {
  CFM_FAIL_POINT(client_zeros_telling);
  if (name.remote == 0) {
    receiver_->HandleStatisticsLocalMep(name.md, name.ma, name.mep, {});
  } else {
    receiver_->HandleStatisticsRemoteMep(name.md, name.ma, name.mep, name.remote, {});
  }
}

// A receiver that fails has lost a notification: what is published would stay
// wrong, so the process ends its loop and is started anew.
template <typename Call>
void Client::Impl::Notify(Call call) noexcept {
  try {
    call();
  } catch (const std::exception& error) {
    Fail(std::string("a notification of the CFM manager could not be worked: ") + error.what());
  }
}

void Client::Impl::Fail(const std::string& reason) noexcept {
  velmw::EndLoopWithError(middleware_, reason.c_str());
}

// Requests -------------------------------------------------------------------

template <typename Step>
int Client::Impl::Guarded(const char* what, Step step) noexcept {
  try {
    step();
    return 0;
  } catch (const std::exception& error) {
    log_.Error(fmt::format("cannot {}: {}", what, error.what()));
    return -1;
  }
}

int Client::Impl::ApplyConfiguration(const Hierarchy& domains) noexcept {
  return Guarded("hand the configuration to the CFM manager",
                 [&] { configurations_.Put(domains); });
}

int Client::Impl::RequestStatistics() noexcept {
  return Guarded("ask for statistics", [this] {
    CFM_FAIL_POINT(client_statistics_requesting);
    const std::uint64_t number = requests_.Request();
    if (connected_) {
      manager::FromClient message;
      message.mutable_request_statistics()->set_number(number);
      connection_.Send(message);
    } else {
      requests_.CompleteSoon();
    }
    CFM_FAIL_POINT(client_statistics_requested);
  });
}

// Without a manager there are no counters.
int Client::Impl::ClearStatistics(const char* md, const char* ma, unsigned short mep) noexcept {
  return Guarded("clear statistics", [&] {
    manager::FromClient message;
    CFM_FAIL_POINT(client_clearing);
    manager::ClearStatistics& clear = *message.mutable_clear_statistics();
    if (md != nullptr) {
      clear.set_md(md);
    }
    if (ma != nullptr) {
      clear.set_ma(ma);
    }
    clear.set_mep(mep);
    if (requests_.AnyOpen()) {
      cleared_.Clear(clear.md(), clear.ma(), mep);
    }
    connection_.Send(message);
    CFM_FAIL_POINT(client_cleared);
  });
}

Client::Client(velmw_t* middleware, ReceivedInformationHandler* receiver)
    : impl_(std::make_unique<Impl>(middleware, receiver)) {}

Client::~Client() = default;

int Client::ApplyConfiguration(const std::map<std::string, hierarchy_md>& domains) {
  return impl_->ApplyConfiguration(domains);
}

int Client::RequestStatistics() {
  return impl_->RequestStatistics();
}

int Client::ClearStatistics(const char* md, const char* ma, unsigned short mep) {
  return impl_->ClearStatistics(md, ma, mep);
}

}  // namespace cfm
