// All data providers: which one answers for a callpoint or an action point,
// and which ones were lost.
#ifndef AGENT_PROVIDERS_H
#define AGENT_PROVIDERS_H

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "provider.h"

namespace agentd {

class Providers {
 public:
  Providers(sd_event* loop, const ProviderModel& model, ProviderRules rules);

  // A control connection has come; its number is new in the agent's life.
  std::uint64_t Connect(Peer& control);
  // Its worker connection. Problems say why it cannot be.
  Problems Attach(std::uint64_t number, Peer& worker);
  // Takes its points. Problems name a living provider that has one, or a point
  // that the model does not have; then nothing is registered.
  Problems Register(std::uint64_t number, const cfm::agent::RegisterProvider& request);
  // Either connection is no more: the provider is lost.
  void Disconnected(std::uint64_t number, const Peer& peer);
  void OnReply(std::uint64_t number, const cfm::agent::ProviderReply& reply);

  // Null when nobody answers; `Absence` says why.
  Provider* ForCallpoint(const std::string& name) { return Find(callpoints_, name); }
  Provider* ForActionpoint(const std::string& name) { return Find(actionpoints_, name); }
  bool AnswersCallpoint(const std::string& name) const {
    return Find(callpoints_, name) != nullptr;
  }
  // The same text for all callpoints of which the cause is the same.
  std::string AbsenceOfCallpoint(const std::string& name) const;
  std::string AbsenceOfActionpoint(const std::string& name) const;
  // Null when it is lost.
  Provider* WithNumber(std::uint64_t number);

  std::uint32_t NewTransaction() { return ++last_transaction_; }

  // What is asked about these is withdrawn; the ids that the providers have
  // not answered yet.
  std::vector<std::uint64_t> EntriesGone(const std::vector<EntryPtr>& entries);
  // Asks those of the process that have registered for a sign of life.
  void Ping(pid_t pid);
  // The asker wants nothing any more from any of them.
  void Forget(const Asker& asker);
  // From now on nobody is asked; questions in flight are answered.
  void Cease(const std::string& why);
  // Providers that are asked something, for people; nothing when there are none.
  std::string Unfinished() const;
  // No commit is in work any more.
  void Resume();

  void Describe(cfm::agent::Status& status) const;
  // Called when Describe has something else to say.
  void OnChange(std::function<void()> on_change) { on_change_ = std::move(on_change); }

 private:
  using Points = std::map<std::string, Provider*>;
  using Lost = std::vector<cfm::agent::ProviderStatus>;

  Provider* Find(const Points& points, const std::string& name) const;
  std::string UnregisteredCallpoints() const;
  void Sweep();
  void Remember(const Provider& provider);
  cfm::agent::ProviderStatus StatusOf(const Provider& provider) const;

  sd_event* loop_;
  const ProviderModel& model_;
  ProviderRules rules_;
  std::uint64_t last_provider_ = 0;
  std::uint64_t last_request_ = 0;
  std::uint32_t last_transaction_ = 0;
  std::map<std::uint64_t, std::unique_ptr<Provider>> providers_;
  Points callpoints_;
  Points actionpoints_;
  std::string ceased_;                          // why nobody is asked any more
  std::map<std::uint64_t, std::string> dying_;  // why; swept soon
  Lost lost_;
  std::function<void()> on_change_;
  Timer soon_;  // loses a provider, out of the destructor that told of it
};

}  // namespace agentd

#endif
