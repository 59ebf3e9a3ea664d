// A CDB subscription connection.
#ifndef AGENT_SUBSCRIBER_H
#define AGENT_SUBSCRIBER_H

#include "role.h"
#include "subscriptions.h"

namespace agentd {

class Subscriber final : public Role, public Listener {
 public:
  Subscriber(const Services& services, Peer& peer) : services_(services), peer_(peer) {}
  ~Subscriber() override;

  void Handle(const cfm::agent::Request& request) override;

  const std::vector<SubscribedPoint>& Points() const override { return points_; }
  std::string Describe() const override { return peer_.Describe(); }
  pid_t Pid() const override { return peer_.Pid(); }
  void Describe(std::int32_t priority, cfm::agent::SubscriberStatus& status) const override;
  void Notify(const cfm::agent::Notification& notification) override;
  void Drop(const std::string& reason) override { peer_.Drop(reason); }

 private:
  void Subscribe(const cfm::agent::Subscribe& request);
  Problems AddPoint(const cfm::agent::Subscribe& request);
  void Done();
  void Sync(const cfm::agent::SubscriptionSync& request);

  Services services_;
  Peer& peer_;
  std::vector<SubscribedPoint> points_;
  bool done_ = false;  // from then on commits are announced
};

}  // namespace agentd

#endif
