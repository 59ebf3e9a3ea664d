// What a configuring client is told of MEPs: the engine's reports as messages,
// in their order, from the client's first configuration on.
#ifndef CFM_MANAGER_STATUS_FEED_H
#define CFM_MANAGER_STATUS_FEED_H

#include <cstdint>
#include <vector>

#include "engine.h"
#include "outbox.h"

namespace cfm {

class StatusFeed {
 public:
  explicit StatusFeed(Outbox::Line line) : outbox_(std::move(line)) {}

  // From the first configuration on; before, reports are passed over. True the
  // first time: everything is to be reported then.
  bool Begin() { return !std::exchange(has_begun_, true); }
  bool HasBegun() const { return has_begun_; }

  // Reports of other kinds are not for clients.
  void Take(const engine::Effect& effect);

  void SendApplied(std::uint64_t number, const std::vector<std::string>& warnings);
  // Whatever was shown before is of no use to the client any more.
  void SendResendStarts(std::uint64_t number);
  void SendStatistics(std::uint64_t number, const std::vector<engine::MepStatistics>& statistics);

  // The line may take more.
  void Flush() { outbox_.Flush(); }
  // Whether everything was sent. Requests are worked only then, so a client
  // that does not read its answers gets no more of them.
  bool IsUpToDate() const { return outbox_.IsEmpty(); }

 private:
  bool has_begun_ = false;
  Outbox outbox_;
};

}  // namespace cfm

#endif
