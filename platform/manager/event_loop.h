// The event loop of a process that a service manager starts and ends.
#ifndef CFM_MANAGER_EVENT_LOOP_H
#define CFM_MANAGER_EVENT_LOOP_H

#include <systemd/sd-event.h>

#include <memory>

namespace cfm {

class EventLoop {
 public:
  // Takes SIGTERM and SIGINT over: either ends Run. Serves the watchdog of the
  // service manager while it dispatches. Throws std::system_error.
  EventLoop();

  sd_event* Get() const { return loop_.get(); }
  // Says that the process is ready, dispatches events until it shall end, and
  // says that it is stopping. Throws std::system_error when the loop fails.
  void Run();

 private:
  struct Unref {
    void operator()(sd_event* loop) const { sd_event_unref(loop); }
  };

  std::unique_ptr<sd_event, Unref> loop_;
};

}  // namespace cfm

#endif
