#include "agent_link.h"

#include <paths.h>
#include <unistd.h>

#include <exception>
#include <utility>

#include "fail_point.h"
#include "log.h"
#include "loop_source.h"

namespace velconfd {

AgentLink::AgentLink(velmw_t* middleware, zlog_category_s* log, const char* name,
                     HandlerLists handlers, ELEM_CONFD_PHASE_ET phase)
    : middleware_(middleware),
      loop_(velmw::EventLoop(middleware)),
      log_(log),
      handlers_(std::move(handlers)),
      phase_(phase),
      config_(log, handlers_.config),
      interface_(ipc::AgentSocket(), name),
      agent_watch_(loop_, ipc::AgentSocket(), velmw::kAgentPriority,
                   [this] { InLoop(&AgentLink::Connect); }) {
  interface_.OnLostSession([this] { LoseSoon(); });
  interface_.WatchIdle([this](int fd) { return WatchSocket(loop_, fd, OnIdleSocket, this); });
  agent_watch_.Start();
}

AgentLink::~AgentLink() {
  Close();
}

void AgentLink::InLoop(Step step) noexcept {
  try {
    try {
      (this->*step)();
    } catch (const AgentError& error) {
      Lose(error);
    }
  } catch (const std::exception& error) {
    End(std::string("internal inconsistency in the agent's handlers: ") + error.what());
  } catch (...) {
    End("internal inconsistency in the agent's handlers: an unknown exception");
  }
}

// Connecting ------------------------------------------------------------------

// The session that AgentConnection opens holds commits back, so that none
// falls between what is loaded, or was applied, and the first notification.
void AgentLink::Connect() {
  if (connection_) {
    return;
  }
  retry_.reset();
  CFM_FAIL_POINT(velconfd_connecting);
  connection_.emplace(interface_.Agent());
  CFM_FAIL_POINT(velconfd_connected);
  const cdb_txid txid = connection_->ReadTxid();
  const bool first = !config_.IsLoaded();
  if (!first && !config_.IsAt(txid)) {
    CFM_FAIL_POINT(velconfd_moved_on);
    End("the configuration has moved on while the agent was away; the program has to start anew");
    return;
  }
  connection_->Subscribe(interface_.Agent(), config_.Handlers());
  CFM_FAIL_POINT(velconfd_subscribed);
  if (first) {
    TellConnected();
    config_.Load(*connection_, txid);
    connection_->EndSession();
  } else {
    CFM_FAIL_POINT(velconfd_reconnected);
    connection_->EndSession();
    TellConnected();
  }
  config_.ApplyInitial();
  // The mirror stands, and nobody has been told yet that the agent is up.
  if (handlers_.HasAnswers()) {
    provider_.emplace(interface_.Agent(), log_, handlers_);
    CFM_FAIL_POINT(velconfd_answering);
  }
  Serve();
}

void AgentLink::TellConnected() {
  interface_.SetConnected(true);
  told_ = true;
  for (BaseHandler* handler : handlers_.All()) {
    handler->ConfdConnected(phase_);
  }
  CFM_FAIL_POINT(velconfd_handlers_told);
}

void AgentLink::Serve() {
  data_watch_ = WatchSocket(loop_, connection_->DataSocket(), OnDataSocket, this);
  subscription_watch_ =
      WatchSocket(loop_, connection_->SubscriptionSocket(), OnSubscriptionSocket, this);
  if (provider_ && !lost_session_) {
    control_watch_ = WatchSocket(loop_, provider_->ControlSocket(), OnControlSocket, this);
    worker_watch_ = WatchSocket(loop_, provider_->WorkerSocket(), OnWorkerSocket, this);
  }
  agent_watch_.Stop();
  serving_ = true;
  CFM_FAIL_POINT(velconfd_serving);
  last_failure_.clear();
  retry_delay_.Reset();
  Log(log_, kInfo, std::string("Connected to the agent at ") + interface_.Agent().Path());
  velmw::AnnounceAgentState(middleware_, velmw::AgentState::kUp);
  if (!std::exchange(was_ready_, true)) {
    velmw::NotifyReady(middleware_);
  }
}

// Serving ---------------------------------------------------------------------

void AgentLink::TakeCommit() {
  config_.TakeCommit(*connection_);
}

void AgentLink::CheckDataSocket() {
  connection_->CheckDataSocket();
}

void AgentLink::WorkControl() {
  provider_->Work(provider_->ControlSocket());
}

void AgentLink::WorkWorker() {
  provider_->Work(provider_->WorkerSocket());
}

// Losing ----------------------------------------------------------------------

void AgentLink::Lose(const AgentError& error) {
  CFM_FAIL_POINT(velconfd_lost);
  const bool was_serving = serving_;
  TellLoss();
  CFM_FAIL_POINT(velconfd_loss_told);
  Close();
  CFM_FAIL_POINT(velconfd_closed);
  if (config_.IsPartial()) {
    End(std::string("the agent was lost during the initial load of the configuration, which "
                    "happens once in a process's life: ") +
        error.what());
  } else if (was_serving) {
    Log(log_, kTolerated, std::string("Lost the agent: ") + error.what());
    agent_watch_.Start();
  } else {
    Await(error);
  }
}

// The session's end has callers, so the loss comes later. Until then nothing is
// answered: what the session has taken away may be asked about, because the
// agent withdrew the questions in a reply that is lost.
void AgentLink::LoseSoon() {
  lost_session_ = CallLater(loop_, 0, OnLostSession, this);
  worker_watch_.reset();
  control_watch_.reset();
}

// One connection went, or did not come about, while the others stay. What a
// handler wrote on it stands in part or not at all, and only an agent that comes
// back has all status sent again.
void AgentLink::LoseForSession() {
  CFM_FAIL_POINT(velconfd_session_lost);
  throw AgentError("the connection of a session was lost");
}

void AgentLink::TellLoss() {
  interface_.SetConnected(false);
  if (std::exchange(told_, false)) {
    for (BaseHandler* handler : handlers_.All()) {
      handler->ConfdDisconnected();
    }
  }
  if (std::exchange(serving_, false)) {
    velmw::AnnounceAgentState(middleware_, velmw::AgentState::kDown);
  }
}

void AgentLink::Await(const AgentError& error) {
  CFM_FAIL_POINT(velconfd_absent);
  if (last_failure_ != error.what()) {
    last_failure_ = error.what();
    Log(log_, kTolerated, "Waiting for the agent: " + last_failure_);
  }
  // An agent that is there and yet fails the connection is tried again by time,
  // because its socket will not appear a second time. So is a socket that an agent
  // seems to have left: it may be that just this attempt went wrong.
  const bool is_absent = dynamic_cast<const AgentAbsent*>(&error) != nullptr;
  if (!is_absent || access(interface_.Agent().Path(), F_OK) == 0) {
    retry_ =
        CallLater(loop_, static_cast<std::uint64_t>(retry_delay_.Next().count()), OnRetry, this);
  }
}

// Leaves nothing in the loop that could call a step again.
void AgentLink::End(const std::string& reason) {
  Close();
  agent_watch_.Stop();
  Log(log_, kError, reason);
  CFM_FAIL_POINT(velconfd_ending);
  velmw::EndLoopWithError(middleware_, reason.c_str());
}

void AgentLink::Close() {
  lost_session_.reset();
  retry_.reset();
  worker_watch_.reset();
  control_watch_.reset();
  subscription_watch_.reset();
  data_watch_.reset();
  if (DaemonContext in_use = provider_ ? provider_->TakeContextInUse() : nullptr) {
    retired_.push_back(std::move(in_use));
  }
  provider_.reset();
  interface_.SetConnected(false);
  connection_.reset();
}

// From the loop ---------------------------------------------------------------

int AgentLink::OnDataSocket(sd_event_source*, int, std::uint32_t, void* self) noexcept {
  static_cast<AgentLink*>(self)->InLoop(&AgentLink::CheckDataSocket);
  return 0;
}

int AgentLink::OnSubscriptionSocket(sd_event_source*, int, std::uint32_t, void* self) noexcept {
  static_cast<AgentLink*>(self)->InLoop(&AgentLink::TakeCommit);
  return 0;
}

int AgentLink::OnIdleSocket(sd_event_source*, int, std::uint32_t, void* self) noexcept {
  static_cast<AgentLink*>(self)->InLoop(&AgentLink::LoseForSession);
  return 0;
}

int AgentLink::OnControlSocket(sd_event_source*, int, std::uint32_t, void* self) noexcept {
  static_cast<AgentLink*>(self)->InLoop(&AgentLink::WorkControl);
  return 0;
}

int AgentLink::OnWorkerSocket(sd_event_source*, int, std::uint32_t, void* self) noexcept {
  static_cast<AgentLink*>(self)->InLoop(&AgentLink::WorkWorker);
  return 0;
}

int AgentLink::OnLostSession(sd_event_source*, std::uint64_t, void* self) noexcept {
  static_cast<AgentLink*>(self)->InLoop(&AgentLink::LoseForSession);
  return 0;
}

int AgentLink::OnRetry(sd_event_source*, std::uint64_t, void* self) noexcept {
  static_cast<AgentLink*>(self)->InLoop(&AgentLink::Connect);
  return 0;
}

}  // namespace velconfd
