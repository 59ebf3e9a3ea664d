// agentd as a process of a test's own, and a client that speaks its protocol.
#ifndef TESTS_AGENT_RUNNING_AGENT_H
#define TESTS_AGENT_RUNNING_AGENT_H

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "agent.pb.h"
#include "process.h"
#include "temporary_directory.h"
#include "unique_fd.h"

namespace agentd::test {

namespace pb = cfm::agent;

class RunningAgent {
 public:
  // Directories of its own; `wrapper` stands in front of the command.
  explicit RunningAgent(std::vector<std::string> options = {},
                        std::vector<std::string> wrapper = {});

  std::vector<std::string> Command() const;
  void Start();
  // Exit status.
  std::optional<int> Stop();
  // Asks it to end, and returns when it has heard of that.
  void AskToEnd();
  std::optional<int> AwaitExit() { return process_->AwaitExit(); }
  void Kill();
  // Stands still, until it goes on.
  void Freeze() { process_->Freeze(); }
  void GoOn();
  // Another process on the same directories; its exit status and its one line.
  ::test::CommandResult RunAnother() const;

  // Whether the agent tells the service manager that text.
  bool AwaitNotification(const std::string& text) { return process_->AwaitNotification(text); }

  std::filesystem::path Socket() const { return directory_.Path() / "run/agentd.sock"; }
  const std::filesystem::path& Directory() const { return directory_.Path(); }
  std::filesystem::path Database() const { return directory_.Path() / "state/running.db"; }
  std::string Log() const { return process_->Log(); }
  bool AwaitLog(const std::string& text) { return process_->AwaitLog(text); }

 private:
  ::test::TemporaryDirectory directory_;
  std::vector<std::string> options_;
  std::vector<std::string> wrapper_;
  std::optional<::test::Process> process_;
};

// One connection. What does not come within ::test::kPatience fails the test.
class Client {
 public:
  Client(const std::filesystem::path& socket, pb::Role role, const std::string& name = "tester");
  Client(const RunningAgent& agent, pb::Role role, const std::string& name = "tester")
      : Client(agent.Socket(), role, name) {}
  // The worker connection of a data provider.
  Client(const std::filesystem::path& socket, std::uint64_t provider, const std::string& name);
  Client(const RunningAgent& agent, std::uint64_t provider, const std::string& name)
      : Client(agent.Socket(), provider, name) {}
  // An AF_INET one.
  Client(std::uint16_t port, pb::Role role);

  const pb::HelloReply& Welcome() const { return welcome_; }
  int Fd() const { return fd_.Get(); }
  void Hang() { fd_ = ipc::UniqueFd(); }

  void Send(const pb::Request& request);
  pb::Reply Receive();
  pb::Notification ReceiveNotification();
  pb::ProviderRequest ReceiveProviderRequest();
  pb::FromAgent ReceiveAny();
  pb::Reply Call(const pb::Request& request);
  // The agent has closed the connection, after what it may have sent before.
  bool IsClosed();
  // Nothing is there to be read, once the agent has dealt with what was sent to it
  // on any connection before.
  bool IsSilent(const RunningAgent& agent) const;
  // Nothing comes for so long.
  bool StaysSilent(std::chrono::milliseconds duration) const;

  // Data connections.
  void StartSession(unsigned database, unsigned flags);
  void EndSession();
  pb::Reply Level(const std::string& md);  // Fetch of its level
  std::uint64_t Txid();

  // Subscription connections.
  std::int32_t Subscribe(std::int32_t priority, const std::vector<std::string>& names);
  pb::Reply SubscribeDone();
  void Sync();

  // Front ends.
  void SendEdit(const std::vector<pb::EditOperation>& operations,
                pb::Edit::Target target = pb::Edit::COMMIT);
  pb::Reply Edit(const std::vector<pb::EditOperation>& operations,
                 pb::Edit::Target target = pb::Edit::COMMIT);
  pb::Reply CommitCandidate();
  pb::Reply DiscardCandidate();
  pb::Reply ValidateCandidate();
  pb::Reply DiffCandidate();
  std::string Show(pb::Datastore datastore = pb::DATASTORE_RUNNING);
  pb::Status Status();
  void SendGet(const std::string& path, pb::Format format = pb::FORMAT_TREE);
  // Of the operational datastore.
  pb::Reply Get(const std::string& path, pb::Format format = pb::FORMAT_TREE);

 private:
  void Greet(pb::Role role, const std::string& name, std::uint64_t provider = 0);

  ipc::UniqueFd fd_;
  pb::HelloReply welcome_;
  std::uint64_t notification_ = 0;  // number of the last one
};

}  // namespace agentd::test

#endif
