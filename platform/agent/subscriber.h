// A CDB subscription connection.
#ifndef AGENT_SUBSCRIBER_H
#define AGENT_SUBSCRIBER_H

#include <chrono>
#include <optional>

#include "role.h"
#include "subscriptions.h"

namespace agentd {

class Subscriber final : public Role, public Listener {
 public:
  Subscriber(const Services& services, Peer& peer) : services_(services), peer_(peer) {}
  ~Subscriber() override;

  void Handle(const cfm::agent::Request& request) override;
  bool IsCountedOn() const override { return true; }

  const std::vector<SubscribedPoint>& Points() const override { return points_; }
  const std::string& Name() const override { return peer_.Name(); }
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
  std::int64_t since_ = 0;
  // Of the notification that it has not answered.
  std::optional<std::chrono::steady_clock::time_point> notified_;
};

}  // namespace agentd

#endif
