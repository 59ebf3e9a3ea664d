// agentd, the management agent: brings up loop, signals and agent, says that
// it is ready, and runs until it is told to end.
#include <sys/stat.h>
#include <systemd/sd-daemon.h>
#include <systemd/sd-event.h>

#include <csignal>
#include <cstdlib>
#include <exception>
#include <memory>

#include "agent.h"
#include "event_source.h"
#include "log.h"
#include "log_output.h"
#include "options.h"

namespace {

struct UnrefLoop {
  void operator()(sd_event* loop) const { sd_event_unref(loop); }
};

using Loop = std::unique_ptr<sd_event, UnrefLoop>;

Loop MakeLoop() {
  sd_event* loop = nullptr;
  ipc::CheckEvent(sd_event_new(&loop), "make the event loop");
  return Loop(loop);
}

// Until the loop runs they wait. A file that may not grow is an error that the
// store reports, so its signal is of no use.
void HoldSignals() {
  std::signal(SIGXFSZ, SIG_IGN);
  std::signal(SIGPIPE, SIG_IGN);
  sigset_t set;
  sigemptyset(&set);
  sigaddset(&set, SIGTERM);
  sigaddset(&set, SIGINT);
  sigprocmask(SIG_BLOCK, &set, nullptr);
}

int OnSignal(sd_event_source* source, const signalfd_siginfo*, void* agent) noexcept {
  return ipc::DispatchGuarded(source, "signal", [agent] {
    sd_notify(0, "STOPPING=1");
    static_cast<agentd::Agent*>(agent)->End();
  });
}

void EndOnSignals(sd_event* loop, agentd::Agent& agent) {
  for (const int number : {SIGTERM, SIGINT}) {
    ipc::CheckEvent(sd_event_add_signal(loop, nullptr, number, OnSignal, &agent), "take a signal");
  }
}

int Run(const agentd::Options& options) {
  const Loop loop = MakeLoop();
  HoldSignals();
  agentd::Agent agent(loop.get(), options);
  EndOnSignals(loop.get(), agent);
  ipc::CheckEvent(sd_event_set_watchdog(loop.get(), 1), "set the watchdog");
  AGENT_LOG_INFO("ready at commit %llu", static_cast<unsigned long long>(agent.Txid()));
  sd_notify(0, "READY=1");
  const int status = sd_event_loop(loop.get());
  AGENT_LOG_INFO("ended at commit %llu", static_cast<unsigned long long>(agent.Txid()));
  return status;
}

}  // namespace

int main(int argc, char** argv) {
  const agentd::ParsedOptions parsed = agentd::ParseOptions(argc, argv);
  if (parsed.exit_status) {
    return *parsed.exit_status;
  }
  umask(S_IRWXO);  // the configuration is nobody else's to read
  try {
    return Run(parsed.options);
  } catch (const std::exception& error) {
    ipc::ReportError(error.what());
    return EXIT_FAILURE;
  }
}
