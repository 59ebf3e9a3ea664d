#include "manager_connection.h"

#include <velmidware_loop.h>

#include <exception>
#include <system_error>
#include <utility>

#include "fail_point.h"
#include "frame.h"
#include "node_name.h"

namespace cfm {
namespace {

constexpr std::uint32_t kProtocolVersion = 1;
constexpr std::uint64_t kTimerAccuracyUsec = 1000;
constexpr std::chrono::seconds kRetryDelay{1};

// Nobody listens: there is no socket, or one that a dead manager left.
bool IsAbsence(const std::error_code& code) {
  return code == std::errc::no_such_file_or_directory || code == std::errc::connection_refused;
}

}  // namespace

ManagerConnection::ManagerConnection(sd_event* loop, std::filesystem::path socket,
                                     const LogCategory& log, Handlers handlers)
    : loop_(loop),
      path_(std::move(socket)),
      log_(log),
      handlers_(std::move(handlers)),
      watch_(loop, path_, velmw::kManagerPriority, [this] { Guarded([this] { TryConnect(); }); }) {
  watch_.Start();
}

void ManagerConnection::Send(const manager::FromClient& message) {
  if (channel_ && welcome_) {
    channel_->Send(message);
  }
}

// Runs a step that the loop asked for. Without it nobody would look for the
// manager any more.
template <typename Step>
void ManagerConnection::Guarded(Step step) noexcept {
  try {
    step();
  } catch (const std::exception& error) {
    handlers_.on_failure(error.what());
  }
}

void ManagerConnection::TryConnect() {
  if (channel_) {
    return;
  }
  CFM_FAIL_POINT(client_connecting);
  try {
    Introduce(ipc::ConnectUnix(path_));
  } catch (const std::system_error& error) {
    channel_.reset();
    ReportTrouble(std::string("waiting for the CFM manager: ") + error.what());
    // The watch goes on and finds the next manager. Where it is not the manager
    // that is missing, nothing will appear, and it is tried again by time.
    if (!IsAbsence(error.code())) {
      SearchAfter(kRetryDelay);
    }
  }
}

void ManagerConnection::Introduce(ipc::UniqueFd socket) {
  channel_ = std::make_unique<ipc::Channel>(
      loop_, std::move(socket), velmw::kManagerPriority,
      [this](std::string_view payload) { OnFrame(payload); },
      [this](const std::string& reason) { Guarded([&] { OnClosed(reason); }); });
  connected_at_ = Clock::now();
  welcome_ = false;
  watch_.Stop();

  manager::Hello hello;
  hello.set_version(kProtocolVersion);
  hello.set_role(manager::ROLE_CONFIGURE);
  hello.set_name(program_invocation_short_name);
  channel_->Send(hello);
  CFM_FAIL_POINT(client_hello_sent);
}

void ManagerConnection::OnFrame(std::string_view payload) {
  if (!welcome_) {
    OnHelloReply(payload);
    return;
  }
  manager::FromManager message;
  ipc::ParsePayload(payload, message);
  handlers_.on_message(message);
}

void ManagerConnection::OnHelloReply(std::string_view payload) {
  manager::HelloReply reply;
  ipc::ParsePayload(payload, reply);
  if (!reply.error().empty()) {
    throw ipc::ProtocolError("refused: " + LogText(reply.error()));
  }
  CFM_FAIL_POINT(client_welcomed);
  welcome_ = true;
  trouble_.clear();
  log_.Info("connected to the CFM manager at " + path_.native());
  handlers_.on_welcome();
}

void ManagerConnection::OnClosed(const std::string& reason) {
  channel_.reset();
  if (std::exchange(welcome_, false)) {
    log_.Warning("lost the CFM manager at " + path_.native() + ": " + reason);
    handlers_.on_lost();
  } else {
    ReportTrouble("no use of the CFM manager at " + path_.native() + ": " + reason);
  }
  const auto lifetime = Clock::now() - connected_at_;
  SearchAfter(
      reconnect_delay_.After(std::chrono::duration_cast<ReconnectDelay::Duration>(lifetime)));
}

void ManagerConnection::SearchAfter(ReconnectDelay::Duration delay) {
  if (delay == ReconnectDelay::Duration::zero()) {
    watch_.Start();
    return;
  }
  sd_event_source* source = nullptr;
  ipc::CheckEvent(sd_event_add_time_relative(
                      loop_, &source, CLOCK_MONOTONIC,
                      static_cast<std::uint64_t>(std::chrono::microseconds(delay).count()),
                      kTimerAccuracyUsec, OnRetryTime, this),
                  "set the timer for the next connection to the CFM manager");
  retry_timer_.reset(source);
  ipc::CheckEvent(sd_event_source_set_priority(source, velmw::kManagerPriority),
                  "set priority of a timer");
}

int ManagerConnection::OnRetryTime(sd_event_source*, std::uint64_t, void* self) noexcept {
  auto* connection = static_cast<ManagerConnection*>(self);
  connection->Guarded([connection] {
    connection->retry_timer_.reset();
    connection->watch_.Start();
  });
  return 0;
}

// Attempts repeat; what is wrong is worth a line only when it is news.
void ManagerConnection::ReportTrouble(const std::string& text) {
  if (text != trouble_) {
    trouble_ = text;
    log_.Warning(text);
  }
}

}  // namespace cfm
