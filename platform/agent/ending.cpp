#include "ending.h"

#include <cstdlib>
#include <utility>

#include "log.h"

namespace agentd {

Ending::Ending(sd_event* loop, std::chrono::microseconds limit, Steps steps)
    : loop_(loop), limit_(limit), steps_(std::move(steps)), timer_(loop, [this] { OnTime(); }) {}

void Ending::Begin() {
  if (HasBegun() || limit_.count() == 0) {
    return End();
  }
  stage_ = Stage::kFinishing;
  const std::string unfinished = steps_.unfinished();
  AGENT_LOG_INFO("asked to end%s%s", unfinished.empty() ? "" : ": first finishes the work of ",
                 unfinished.c_str());
  steps_.refuse_waiting();
  timer_.Set(limit_ / 2);
  WatchForRest();
}

// Looked at as soon as nothing else is to be done, and then whenever something
// has happened and nothing else is to be done: so what the peers have sent by
// now is finished, too.
void Ending::WatchForRest() {
  sd_event_source* source = nullptr;
  ipc::CheckEvent(sd_event_add_defer(loop_, &source, OnRest, this), "look for rest");
  first_look_.reset(source);
  ipc::CheckEvent(sd_event_add_post(loop_, &source, OnRest, this), "watch for rest");
  later_looks_.reset(source);
  for (sd_event_source* each : {first_look_.get(), later_looks_.get()}) {
    ipc::CheckEvent(sd_event_source_set_priority(each, SD_EVENT_PRIORITY_IDLE),
                    "set the priority of the watch for rest");
  }
}

int Ending::OnRest(sd_event_source* source, void* self) noexcept {
  return ipc::DispatchGuarded(source, "end", [self] {
    auto* ending = static_cast<Ending*>(self);
    if (ending->steps_.unfinished().empty()) {
      ending->End();
    }
  });
}

void Ending::OnTime() {
  if (std::exchange(stage_, Stage::kCutShort) == Stage::kFinishing) {
    timer_.Set(limit_ - limit_ / 2);
    return steps_.cut_short();
  }
  AGENT_LOG_WARNING("ends without waiting any longer for the work of %s",
                    steps_.unfinished().c_str());
  steps_.give_up();
  End();
}

void Ending::End() {
  ipc::CheckEvent(sd_event_exit(loop_, EXIT_SUCCESS), "end the loop");
}

}  // namespace agentd
