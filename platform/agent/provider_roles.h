// The two connections of a data provider.
#ifndef AGENT_PROVIDER_ROLES_H
#define AGENT_PROVIDER_ROLES_H

#include "providers.h"
#include "role.h"

namespace agentd {

// Registration, and replies of transactions.
class ProviderControl : public Role {
 public:
  ProviderControl(const Services& services, Peer& peer);
  ~ProviderControl() override;

  void Handle(const cfm::agent::Request& request) override;
  bool IsCountedOn() const override { return true; }
  void Welcome(cfm::agent::HelloReply& reply) const override { reply.set_provider(number_); }

 private:
  void Register(const cfm::agent::RegisterProvider& request);

  Services services_;
  Peer& peer_;
  std::uint64_t number_;
  bool registered_ = false;
};

// Replies to what was asked.
class ProviderWorker : public Role {
 public:
  // The provider of that number has taken `peer` as its worker connection.
  ProviderWorker(const Services& services, Peer& peer, std::uint64_t number)
      : services_(services), peer_(peer), number_(number) {}
  ~ProviderWorker() override;

  void Handle(const cfm::agent::Request& request) override;
  bool IsCountedOn() const override { return true; }

 private:
  Services services_;
  Peer& peer_;
  std::uint64_t number_;
};

}  // namespace agentd

#endif
