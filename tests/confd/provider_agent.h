// The agent of a data provider: it greets in a thread, then the test itself
// speaks for it, one message at a time.
#ifndef TESTS_CONFD_PROVIDER_AGENT_H
#define TESTS_CONFD_PROVIDER_AGENT_H

#include <agent.pb.h>

#include <deque>
#include <future>
#include <string>
#include <vector>

#include "confd/fake_agent.h"
#include "unique_fd.h"

namespace test {

class ProviderAgent {
 public:
  static constexpr std::uint64_t kNumber = 77;  // of the provider

  // Welcomes a control and a worker connection, then answers the registration
  // with this error, if any.
  explicit ProviderAgent(std::string refusal = {});
  // The next connection goes by this script.
  explicit ProviderAgent(FakeAgent::Script next);

  const FakeAgent& Listener() const { return listener_; }
  // Ends the script and returns what it threw, or an empty text.
  std::string Finish() { return listener_.Finish(); }

  // After the program's confd_register_done.
  const cfm::agent::RegisterProvider& Registration();
  int Control();
  int Worker();

  // Requests; each returns its id. A read is a batch of one.
  std::uint64_t Init(std::uint32_t thandle);
  std::uint64_t Finish(std::uint32_t thandle);
  std::uint64_t GetElem(std::uint32_t thandle, const std::string& callpoint);
  std::uint64_t GetNext(std::uint32_t thandle, const std::string& callpoint, std::int64_t next);
  std::uint64_t Act(cfm::agent::PerformAction action);
  std::uint64_t Ping();
  // The request gets the next id.
  std::uint64_t Send(int fd, cfm::agent::ProviderRequest request);
  // The requests get the next ids; the first is returned.
  std::uint64_t Ask(cfm::agent::ReadBatch batch);

  // The next reply; throws when there is none within a long time.
  cfm::agent::ProviderReply Take(int fd);
  // The replies of one message on the worker connection.
  std::vector<cfm::agent::ProviderReply> TakeTogether();
  bool HasSaidNothing(int fd);
  // Closes both connections.
  void Die();

 private:
  void WelcomeControl(int fd);
  void WelcomeWorker(int fd);

  std::string refusal_;
  std::promise<cfm::agent::RegisterProvider> registered_;
  std::future<cfm::agent::RegisterProvider> when_registered_ = registered_.get_future();
  cfm::agent::RegisterProvider registration_;
  ipc::UniqueFd control_;  // the thread's until it has registered
  ipc::UniqueFd worker_;
  std::uint64_t last_id_ = 0;
  std::deque<cfm::agent::ProviderReply> replies_;  // of the worker, not taken yet
  FakeAgent listener_;
};

// Reads for a batch.
cfm::agent::ProviderRequest GetElem(std::uint32_t thandle, const std::string& callpoint,
                                    const cfm::agent::Keypath& keypath);
cfm::agent::ProviderRequest GetNext(std::uint32_t thandle, const std::string& callpoint,
                                    const cfm::agent::Keypath& keypath, std::int64_t next,
                                    std::uint32_t steps);
cfm::agent::ReadBatch BatchOf(const std::vector<cfm::agent::ProviderRequest>& requests);

// /status/oam/cfm/local{3}/level, leaf first, in the namespace 0x76d9c9b9.
cfm::agent::Keypath LevelOfLocal(std::int64_t key);

}  // namespace test

#endif
