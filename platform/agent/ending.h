// The agent's end on request. What was begun is finished first, in bounded
// time: programs on the ConfD API have no way to tell an agent that ends from
// one that dies, and some end with it when they are cut off in the middle of an
// answer or of a write.
#ifndef AGENT_ENDING_H
#define AGENT_ENDING_H

#include <systemd/sd-event.h>

#include <chrono>
#include <functional>
#include <string>

#include "event_source.h"
#include "timer.h"

namespace agentd {

// What front ends are told that ask for something now.
inline constexpr const char* kIsEnding = "agentd is ending: try again when it is back";

class Ending {
 public:
  struct Steps {
    // At once: what was asked and not begun is refused.
    std::function<void()> refuse_waiting;
    // After half of the time: nobody is asked any more, answers that are on
    // their way are still taken.
    std::function<void()> cut_short;
    // After all of it: whoever still waits is told what became of it.
    std::function<void()> give_up;
    // Who still has something in work, for the log; nothing when all is done.
    std::function<std::string()> unfinished;
  };

  // `limit` 0: it ends at once.
  Ending(sd_event* loop, std::chrono::microseconds limit, Steps steps);

  // Ends the loop with status 0 when all is finished, at the latest after the
  // limit; at once when it is called again.
  void Begin();
  bool HasBegun() const { return stage_ != Stage::kNotBegun; }

 private:
  enum class Stage { kNotBegun, kFinishing, kCutShort };

  static int OnRest(sd_event_source* source, void* self) noexcept;
  void WatchForRest();
  void OnTime();
  void End();

  sd_event* loop_;
  std::chrono::microseconds limit_;
  Steps steps_;
  Stage stage_ = Stage::kNotBegun;
  Timer timer_;
  ipc::EventSource first_look_;
  ipc::EventSource later_looks_;
};

}  // namespace agentd

#endif
