// When the manager's status reaches the receiver.
#ifndef CFM_STATUS_RELAY_H
#define CFM_STATUS_RELAY_H

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <optional>

#include "statistics_requests.h"

namespace cfm {

// Keeps the manager's order, with three exceptions: while the agent is away
// status is dropped, for it could not be published; after that it is dropped
// up to the place where the manager began to send everything again; and a
// removal, with all that follows it, waits until the statistics requests made
// before it are completed, because a read that waits for statistics must find
// its record. Requests made while a removal waits are completed together with
// those before them, from statistics that are as new: reads without a pause do
// not put the removal off.
class StatusRelay {
 public:
  using Delivery = std::function<void()>;

  // More than that waits only for a manager that does not answer.
  static constexpr std::size_t kMostWaiting = 100'000;

  // `requests` is borrowed. The agent is away at first.
  explicit StatusRelay(StatisticsRequests& requests) : requests_(requests) {}

  void AgentWentAway();
  // Returns the number that ResendStatus and its ResendStarts carry.
  std::uint64_t AgentCameBack();
  // Another connection: what comes on it is all of this time.
  void ManagerFound();
  void ManagerLost();
  // Throws ipc::ProtocolError for a number that was never given out.
  void ResendStarts(std::uint64_t number);

  // Deliver at once, later or never. Both throw ipc::ProtocolError when too
  // much waits.
  void Status(Delivery delivery) { Take(std::move(delivery), false); }
  void Removal(Delivery delivery) { Take(std::move(delivery), true); }
  // After requests were completed.
  void Proceed();

 private:
  struct Waiting {
    Delivery deliver;
    bool is_removal;
    std::uint64_t last_request;  // made before it came
  };

  bool Passes() const { return agent_is_here_ && !awaited_; }
  void Take(Delivery delivery, bool is_removal);

  StatisticsRequests& requests_;
  bool agent_is_here_ = false;
  std::uint64_t last_resend_ = 0;
  std::optional<std::uint64_t> awaited_;  // start of that resend
  std::deque<Waiting> waiting_;
};

}  // namespace cfm

#endif
