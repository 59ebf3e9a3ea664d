#include "statistics_requests.h"

#include <fmt/format.h>
#include <velmidware_loop.h>

#include <utility>

#include "frame.h"

namespace cfm {

StatisticsRequests::StatisticsRequests(sd_event* loop, std::function<void()> finished)
    : finished_(std::move(finished)) {
  sd_event_source* source = nullptr;
  ipc::CheckEvent(sd_event_add_defer(loop, &source, OnDeferred, this),
                  "prepare the end of a statistics answer");
  deferred_.reset(source);
  ipc::CheckEvent(sd_event_source_set_enabled(source, SD_EVENT_OFF), "disarm a deferred call");
  // After the connection: who asks without a pause must not keep us from
  // finding the manager.
  ipc::CheckEvent(sd_event_source_set_priority(source, velmw::kManagerPriority + 1),
                  "set priority of a deferred call");
}

void StatisticsRequests::CompleteSoon() {
  ipc::CheckEvent(sd_event_source_set_enabled(deferred_.get(), SD_EVENT_ONESHOT),
                  "arm the end of a statistics answer");
  complete_soon_ = last_;
}

void StatisticsRequests::Answered(std::uint64_t number) {
  if (number > last_) {
    throw ipc::ProtocolError(
        fmt::format("the answer is to statistics request {}, which was never made", number));
  }
  CompleteThrough(number);
}

int StatisticsRequests::OnDeferred(sd_event_source*, void* self) noexcept {
  auto* requests = static_cast<StatisticsRequests*>(self);
  requests->CompleteThrough(requests->complete_soon_);
  return 0;
}

void StatisticsRequests::CompleteThrough(std::uint64_t number) {
  while (completed_ < number) {
    ++completed_;
    finished_();
  }
}

}  // namespace cfm
