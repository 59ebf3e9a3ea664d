// Ends of statistics answers that the client gives in the manager's place.
#ifndef CFM_STATISTICS_ANSWERS_H
#define CFM_STATISTICS_ANSWERS_H

#include <systemd/sd-event.h>

#include <cstddef>
#include <functional>

#include "event_source.h"

namespace cfm {

// Every request is completed by exactly one call of `finished`, from the loop
// and never from inside Request, or from CompleteNow.
class StatisticsAnswers {
 public:
  // Throws std::system_error.
  StatisticsAnswers(sd_event* loop, std::function<void()> finished);

  void Request();
  // Before status becomes void: a read that waits for statistics must be
  // answered while its record is still known.
  void CompleteNow();

 private:
  static int OnDeferred(sd_event_source* source, void* self) noexcept;

  std::function<void()> finished_;  // does not throw
  std::size_t open_requests_ = 0;
  ipc::EventSource deferred_;
};

}  // namespace cfm

#endif
