// The way to the manager: finds it, introduces itself, and finds it again.
#ifndef CFM_MANAGER_CONNECTION_H
#define CFM_MANAGER_CONNECTION_H

#include <channel.h>
#include <connect.h>
#include <systemd/sd-event.h>

#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "event_source.h"
#include "log_category.h"
#include "manager.pb.h"
#include "reconnect_delay.h"

namespace cfm {

class ManagerConnection {
 public:
  // All are called from the loop.
  struct Handlers {
    std::function<void()> on_welcome;
    // What it throws closes the connection.
    std::function<void(const manager::FromManager&)> on_message;
    // A manager that was welcome before is gone. Does not throw.
    std::function<void()> on_lost;
    // There is no way on; `reason` for a log line. Does not throw.
    std::function<void(const std::string& reason)> on_failure;
  };

  // Starts at once, from the loop. Throws std::system_error.
  ManagerConnection(sd_event* loop, std::filesystem::path socket, const LogCategory& log,
                    Handlers handlers);

  // Never blocks. Between on_welcome and on_lost; nothing happens otherwise.
  void Send(const manager::FromClient& message);

 private:
  using Clock = std::chrono::steady_clock;

  static int OnRetryTime(sd_event_source* source, std::uint64_t usec, void* self) noexcept;

  void TryConnect();
  void Introduce(ipc::UniqueFd socket);
  void OnFrame(std::string_view payload);
  void OnHelloReply(std::string_view payload);
  void OnClosed(const std::string& reason);
  void SearchAfter(ReconnectDelay::Duration delay);
  void ReportTrouble(const std::string& text);
  template <typename Step>
  void Guarded(Step step) noexcept;

  sd_event* loop_;
  std::filesystem::path path_;
  LogCategory log_;
  Handlers handlers_;
  ReconnectDelay reconnect_delay_;
  std::string trouble_;  // logged last, since the manager was seen last
  Clock::time_point connected_at_;
  bool welcome_ = false;
  ipc::SocketWatch watch_;
  ipc::EventSource retry_timer_;
  std::unique_ptr<ipc::Channel> channel_;  // null: there is no connection
};

}  // namespace cfm

#endif
