// A data provider that does what a test says, and a program that writes
// operational data.
#ifndef TESTS_AGENT_SCRIPTED_PROVIDER_H
#define TESTS_AGENT_SCRIPTED_PROVIDER_H

#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "operational_paths.h"
#include "running_agent.h"

namespace agentd::test {

// "level of local 5", "vlan-list of local 5 from -1": a GetElem or GetNext for
// a test to look at.
std::string Describe(const pb::ProviderRequest& request);

pb::ProviderReply ValueReply(const pb::ProviderRequest& request, const pb::Value& value);
pb::ProviderReply KeyReply(const pb::ProviderRequest& request, const pb::Value& key,
                           std::int64_t next);
pb::ProviderReply ResultReply(const pb::ProviderRequest& request, pb::ProviderReply::Result result,
                              const std::string& error = {});

// What a daemon would answer: every leaf with a value of its type, lists with
// 10 and 20.
pb::ProviderReply PlainReply(const pb::ProviderRequest& request);

class ScriptedProvider {
 public:
  // Connected, and registered for every callpoint and action point of the
  // model unless the test does that.
  explicit ScriptedProvider(const std::filesystem::path& socket,
                            const std::string& name = "cfm-app", bool registered = true);
  explicit ScriptedProvider(const RunningAgent& agent, const std::string& name = "cfm-app",
                            bool registered = true)
      : ScriptedProvider(agent.Socket(), name, registered) {}

  pb::Reply Register(const std::vector<std::string>& callpoints,
                     const std::vector<std::string>& actionpoints = {});

  Client& Control() { return *control_; }
  Client& Worker() { return *worker_; }
  void HangControl() { control_.reset(); }
  void HangWorker() { worker_.reset(); }

  void AnswerOnControl(const pb::ProviderRequest& request);
  // The next TransInit, answered.
  std::uint32_t Begin();
  // The thandle of the next TransFinish.
  std::uint32_t AwaitFinish();
  // The next request on the worker connection; those of a batch one after the
  // other, with whole keypaths.
  pb::ProviderRequest Next();
  // After a reply that ends a batch, what is left of it goes back unasked.
  void Send(const pb::ProviderReply& reply);
  // In one message.
  void SendTogether(const std::vector<pb::ProviderReply>& replies);
  // The message with the next batch, of which nothing is taken yet.
  pb::ReadBatch NextBatch();
  // What is left of the batch at hand.
  std::vector<std::uint64_t> Left() const;
  void AnswerLeft();
  // Drops what is left of it of these.
  void Withdraw(const google::protobuf::RepeatedField<std::uint64_t>& ids);
  // Nothing is asked, once the agent has dealt with what was sent to it.
  bool IsIdle(const RunningAgent& agent) const { return left_.empty() && worker_->IsSilent(agent); }

  using Answer = std::function<std::optional<pb::ProviderReply>(const pb::ProviderRequest&)>;
  // Answers until `other` has something to read; each request is noted.
  // Without a reply from `answer` none is sent.
  std::vector<std::string> ServeUntil(Client& other, const Answer& answer = PlainReply);

 private:
  pb::ProviderRequest NextOnControl();
  void ServeControl();
  void Unpack(const pb::ReadBatch& batch);

  std::optional<Client> control_;
  std::optional<Client> worker_;
  std::deque<pb::ProviderRequest> left_;  // of the batch at hand
};

// A session on the operational datastore. Results are codes, 0 for success.
class OperationalWriter {
 public:
  explicit OperationalWriter(const RunningAgent& agent);

  int Create(const pb::Path& path);
  int Set(const pb::Path& path, const pb::Value& value);
  pb::Reply Delete(const pb::Path& path);
  // Creates the entry and sets the leaves.
  void Put(const std::string& list, std::int64_t key, const Leaves& leaves);
  pb::Reply Fetch(const pb::Path& path);

 private:
  pb::Reply Write(pb::OperationalWrite::Operation operation, const pb::Path& path,
                  const pb::Value* value);
  Client client_;
};

}  // namespace agentd::test

#endif
