#include "statistics_answers.h"

#include <velmidware_loop.h>

#include <utility>

namespace cfm {

StatisticsAnswers::StatisticsAnswers(sd_event* loop, std::function<void()> finished)
    : finished_(std::move(finished)) {
  sd_event_source* source = nullptr;
  ipc::CheckEvent(sd_event_add_defer(loop, &source, OnDeferred, this),
                  "prepare the end of a statistics answer");
  deferred_.reset(source);
  ipc::CheckEvent(sd_event_source_set_enabled(source, SD_EVENT_OFF), "disarm a deferred call");
  ipc::CheckEvent(sd_event_source_set_priority(source, velmw::kManagerPriority),
                  "set priority of a deferred call");
}

void StatisticsAnswers::Request() {
  ipc::CheckEvent(sd_event_source_set_enabled(deferred_.get(), SD_EVENT_ONESHOT),
                  "arm the end of a statistics answer");
  ++open_requests_;
}

void StatisticsAnswers::CompleteNow() {
  // A request that the receiver makes meanwhile waits for its own turn.
  for (std::size_t left = std::exchange(open_requests_, 0); left > 0; --left) {
    finished_();
  }
}

int StatisticsAnswers::OnDeferred(sd_event_source*, void* self) noexcept {
  static_cast<StatisticsAnswers*>(self)->CompleteNow();
  return 0;
}

}  // namespace cfm
