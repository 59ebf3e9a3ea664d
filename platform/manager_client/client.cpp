// cfm::Client on the manager's local socket: puts the parts together and turns
// what happens to the connection into notifications.
#include "cfm/client.h"

#include <fmt/format.h>
#include <velmidware_loop.h>

#include <algorithm>
#include <exception>
#include <string>
#include <utility>

#include "configuration_queue.h"
#include "frame.h"
#include "log_category.h"
#include "manager_connection.h"
#include "node_name.h"
#include "paths.h"
#include "statistics_answers.h"

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

 private:
  ManagerConnection::Handlers ConnectionHandlers();
  void OnMessage(const manager::FromManager& message);
  void OnAgentState(velmw::AgentState state) noexcept;
  void Invalidate() noexcept;
  template <typename Call>
  void Notify(Call call) noexcept;
  void Fail(const std::string& reason) noexcept;

  velmw_t* middleware_;
  ReceivedInformationHandler* receiver_;
  LogCategory log_{"cfm_mgr_client"};
  StatisticsAnswers statistics_;
  ConfigurationQueue configurations_;
  ManagerConnection connection_;
  AgentStateListener agent_state_;
};

Client::Impl::Impl(velmw_t* middleware, ReceivedInformationHandler* receiver)
    : middleware_(middleware),
      receiver_(receiver),
      statistics_(velmw::EventLoop(middleware),
                  [this] { Notify([this] { receiver_->HandleStatisticsFinished(); }); }),
      configurations_([this](const manager::FromClient& message) { connection_.Send(message); }),
      connection_(velmw::EventLoop(middleware), ipc::ManagerSocket(), log_, ConnectionHandlers()),
      agent_state_(middleware, [this](velmw::AgentState state) { OnAgentState(state); }) {
  receiver_->HandleStatusInvalidated();
}

ManagerConnection::Handlers Client::Impl::ConnectionHandlers() {
  return {.on_welcome = [this] { configurations_.Connected(); },
          .on_message = [this](const manager::FromManager& message) { OnMessage(message); },
          .on_lost =
              [this] {
                configurations_.Disconnected();
                Invalidate();
              },
          .on_failure = [this](const std::string& reason) { Fail(reason); }};
}

void Client::Impl::OnMessage(const manager::FromManager& message) {
  if (!message.has_applied()) {
    throw ipc::ProtocolError("a message that is not for a configuring client");
  }
  if (message.applied().warnings_size() > 0) {
    log_.Warning(WarningText(message.applied()));
  }
  configurations_.Applied(message.applied().number());
}

// What was published before cannot be relied on when the agent comes back.
void Client::Impl::OnAgentState(velmw::AgentState state) noexcept {
  if (state == velmw::AgentState::kUp) {
    Invalidate();
  }
}

void Client::Impl::Invalidate() noexcept {
  statistics_.CompleteNow();
  Notify([this] { receiver_->HandleStatusInvalidated(); });
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

int Client::Impl::ApplyConfiguration(const Hierarchy& domains) noexcept {
  try {
    configurations_.Put(domains);
    return 0;
  } catch (const std::exception& error) {
    log_.Error(std::string("cannot hand the configuration to the CFM manager: ") + error.what());
    return -1;
  }
}

int Client::Impl::RequestStatistics() noexcept {
  try {
    statistics_.Request();
    return 0;
  } catch (const std::exception& error) {
    log_.Error(std::string("cannot ask for statistics: ") + error.what());
    return -1;
  }
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

// The manager keeps no statistics yet, so there is nothing to clear.
int Client::ClearStatistics(const char* /*md*/, const char* /*ma*/, unsigned short /*mep*/) {
  return -1;
}

}  // namespace cfm
