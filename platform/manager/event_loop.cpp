#include "event_loop.h"

#include <signal.h>
#include <systemd/sd-daemon.h>

#include <cerrno>
#include <stdexcept>
#include <system_error>

#include "event_source.h"

namespace cfm {
namespace {

void BlockEndSignals() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGTERM);
  sigaddset(&signals, SIGINT);
  if (sigprocmask(SIG_BLOCK, &signals, nullptr) < 0) {
    throw std::system_error(errno, std::system_category(), "block signals");
  }
}

// Without a handler the signal ends the loop with exit code 0.
void EndAt(sd_event* loop, int signal) {
  ipc::CheckEvent(sd_event_add_signal(loop, nullptr, signal, nullptr, nullptr), "await a signal");
}

}  // namespace

EventLoop::EventLoop() {
  sd_event* loop = nullptr;
  ipc::CheckEvent(sd_event_new(&loop), "create the event loop");
  loop_.reset(loop);
  // From inside the loop, so that the service manager hears of one that stands.
  ipc::CheckEvent(sd_event_set_watchdog(loop, 1), "serve the watchdog");
  BlockEndSignals();
  EndAt(loop, SIGTERM);
  EndAt(loop, SIGINT);
}

void EventLoop::Run() {
  sd_notify(0, "READY=1");
  const int result = sd_event_loop(loop_.get());
  sd_notify(0, "STOPPING=1");
  ipc::CheckEvent(result, "run the event loop");
  if (result > 0) {
    throw std::runtime_error("the event loop was ended by a failure");
  }
}

}  // namespace cfm
