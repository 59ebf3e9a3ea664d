// Statistics requests that wait for their end.
#ifndef CFM_STATISTICS_REQUESTS_H
#define CFM_STATISTICS_REQUESTS_H

#include <systemd/sd-event.h>

#include <cstdint>
#include <functional>

#include "event_source.h"

namespace cfm {

// Every request is completed by exactly one call of `finished`, in their order
// and never from inside Request: by the manager's answer or, where there is
// none to be had, by the client itself.
class StatisticsRequests {
 public:
  // `finished` does not throw. Throws std::system_error.
  StatisticsRequests(sd_event* loop, std::function<void()> finished);

  // Returns the number of a new request.
  std::uint64_t Request() { return ++last_; }
  // Nobody will answer the requests made so far: completes them soon, from the
  // loop. Throws std::system_error.
  void CompleteSoon();
  // Completes the requests made so far at once.
  void CompleteNow() { CompleteThrough(last_); }
  // The manager has answered. Nothing happens for a request that was completed
  // before. Throws ipc::ProtocolError for one that was never made.
  void Answered(std::uint64_t number);

  bool AnyOpen() const { return completed_ < last_; }
  std::uint64_t Last() const { return last_; }
  // All up to this one are completed.
  std::uint64_t Completed() const { return completed_; }

 private:
  static int OnDeferred(sd_event_source* source, void* self) noexcept;
  // A request that the receiver makes meanwhile waits for its own turn.
  void CompleteThrough(std::uint64_t number);

  std::function<void()> finished_;
  std::uint64_t last_ = 0;
  std::uint64_t completed_ = 0;
  std::uint64_t complete_soon_ = 0;  // through this one
  ipc::EventSource deferred_;
};

}  // namespace cfm

#endif
