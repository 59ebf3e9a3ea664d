// One operation that a front end asks for, performed by a data provider.
#ifndef AGENT_INVOCATION_H
#define AGENT_INVOCATION_H

#include <functional>
#include <string>

#include "providers.h"

namespace agentd {

class Invocation final : public Asker {
 public:
  // Called once, last thing; may end the invocation's life.
  using Done = std::function<void(cfm::agent::Reply reply)>;

  Invocation(const Services& services, const cfm::agent::Invoke& request, const std::string& user,
             Done done);
  ~Invocation() override;

  // May be done before it returns.
  void Start();

  void OnTurn(Provider& provider) override;
  void OnAnswer(std::uint64_t id, const cfm::agent::ProviderReply& reply) override;
  void OnDelayed(std::uint64_t, const cfm::agent::ProviderReply&) override {}
  void OnUnasked(std::uint64_t) override {}  // only reads come back
  void OnMiss(std::uint64_t id, Miss miss, const std::string& why) override;

 private:
  void Finish(const std::string& problem);

  Services services_;
  cfm::agent::Invoke invoke_;
  Done done_;
  std::string actionpoint_;
  cfm::agent::PerformAction action_;
};

// Checks the parameters against the operation's input and makes the request of
// them, in the order in which they were given.
Result<cfm::agent::PerformAction> MakeAction(const Model& model, const ProviderModel& providers,
                                             const cfm::agent::Invoke& invoke);

}  // namespace agentd

#endif
