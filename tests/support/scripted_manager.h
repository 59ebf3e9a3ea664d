// A manager in the caller's own process and loop that does what it is told.
#ifndef TESTS_SUPPORT_SCRIPTED_MANAGER_H
#define TESTS_SUPPORT_SCRIPTED_MANAGER_H

#include <systemd/sd-event.h>

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "channel.h"
#include "listener.h"
#include "manager.pb.h"
#include "paths.h"
#include "unique_fd.h"

namespace test {

// Listens for as long as it lives; dropping it is the end of the manager. Keeps
// the connection that came last.
class ScriptedManager {
 public:
  explicit ScriptedManager(sd_event* loop,
                           const std::filesystem::path& socket = ipc::ManagerSocket());

  // What it answers to the next Hello; an error refuses.
  std::string hello_error;
  bool answers_hello = true;
  // Answers each configuration at once with these.
  bool answers_configurations = true;
  std::vector<std::string> warnings;
  // Told of each message after the Hello, once it was noted and answered.
  std::function<void(const cfm::manager::FromClient&)> on_message = [](const auto&) {};

  void Answer(std::uint64_t number);
  void Send(const cfm::manager::FromManager& message) { channel_->Send(message); }
  void SetReading(bool reading) { channel_->SetReading(reading); }
  // Sends bytes that nobody checks, all at once. Throws std::system_error.
  void SendBytes(std::string_view bytes);
  void CloseConnection();

  int Connections() const { return connections_; }
  bool Connected() const { return channel_ != nullptr; }
  const std::optional<cfm::manager::Hello>& Hello() const { return hello_; }
  // All that came, on any connection.
  const std::vector<cfm::manager::Configuration>& Configurations() const { return configurations_; }
  const std::vector<cfm::manager::FromClient>& Requests() const { return requests_; }

 private:
  void Accept(ipc::UniqueFd socket);
  void OnFrame(std::string_view payload);
  void OnHello(std::string_view payload);
  void OnMessage(std::string_view payload);

  sd_event* loop_;
  int connections_ = 0;
  std::optional<cfm::manager::Hello> hello_;  // of this connection
  std::vector<cfm::manager::Configuration> configurations_;
  std::vector<cfm::manager::FromClient> requests_;  // all other messages
  std::unique_ptr<ipc::Channel> channel_;
  ipc::UniqueFd raw_;  // the same socket, for bytes that are no frames
  ipc::Listener listener_;
};

}  // namespace test

#endif
