// Life of the process and its main loop.
#include <systemd/sd-daemon.h>

#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <exception>
#include <stdexcept>
#include <string>
#include <utility>

#include "fault.h"
#include "handle.h"
#include "log_output.h"
#include "paths.h"
#include "unix_address.h"
#include "velmidware_loop.h"

namespace {

sd_event* NewLoop() {
  sd_event* loop = nullptr;
  ipc::CheckEvent(sd_event_new(&loop), "create the event loop");
  return loop;
}

// A signal with no call-back ends the loop with code 0.
ipc::EventSource EndLoopOn(sd_event* loop, int signal) {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, signal);
  sigprocmask(SIG_BLOCK, &signals, nullptr);
  sd_event_source* source = nullptr;
  ipc::CheckEvent(sd_event_add_signal(loop, &source, signal, nullptr, nullptr),
                  "watch for a signal");
  return ipc::EventSource(source);
}

// The sockets in it are what the process is going to need, and their paths
// have little room.
std::filesystem::path UsableRuntimeDirectory() {
  for (const auto& path : {ipc::AgentSocket(), ipc::ManagerSocket()}) {
    static_cast<void>(ipc::UnixAddress(path));
  }
  return ipc::RuntimeDirectory();
}

}  // namespace

velmw_handle::velmw_handle(const std::string& name)
    : lock(UsableRuntimeDirectory(), name),
      loop(NewLoop()),
      terminate(EndLoopOn(loop.get(), SIGTERM)),
      interrupt(EndLoopOn(loop.get(), SIGINT)) {
  // A peer that went away is an error of the call that writes to it.
  std::signal(SIGPIPE, SIG_IGN);
  ipc::CheckEvent(sd_event_set_watchdog(loop.get(), 1), "serve the watchdog");
}

velmw_t* velmw_init(const char* application_name) {
  try {
    velmw::SetProgramName(application_name);
    return new velmw_handle(application_name);
  } catch (const std::exception& error) {
    ipc::ReportError(std::string("cannot start: ") + error.what());
    std::exit(EXIT_FAILURE);
  }
}

int velmw_loop_while(velmw_t* handle, bool* run) {
  int code = 0;
  try {
    sd_event* loop = velmw::EventLoop(handle);
    while (*run && sd_event_get_state(loop) != SD_EVENT_FINISHED) {
      ipc::CheckEvent(sd_event_run(loop, UINT64_MAX), "run the event loop");
    }
    sd_event_get_exit_code(loop, &code);
  } catch (const std::exception& error) {
    velmw::ReportError(error.what());
    code = 1;
  }
  sd_notify(0, "STOPPING=1");
  return code == 0 ? 0 : 1;
}

void velmw_finish(velmw_t** handle) {
  delete *handle;
  *handle = nullptr;
}

namespace velmw {

sd_event* EventLoop(velmw_t* handle) {
  if (handle == nullptr) {
    throw std::runtime_error("event loop of a middleware that was not initialised");
  }
  return handle->loop.get();
}

void EndLoopWithError(velmw_t* handle, const char* reason) {
  ReportError(reason);
  sd_event_exit(EventLoop(handle), EXIT_FAILURE);
}

void NotifyReady(velmw_t* /*handle*/) {
  sd_notify(0, "READY=1");
}

void AnnounceAgentState(velmw_t* handle, AgentState state) {
  handle->announcements.Announce(state);
}

int OnAgentState(velmw_t* handle, AgentStateHandler handler) {
  return handle->announcements.Add(std::move(handler));
}

void ForgetAgentState(velmw_t* handle, int registration) {
  handle->announcements.Remove(registration);
}

}  // namespace velmw
