#include "options.h"

#include <CLI/CLI.hpp>
#include <cstdio>
#include <cstdlib>

#include "paths.h"

namespace agentd {
namespace {

constexpr const char* kExamples =
    "Examples:\n"
    "  agentd\n"
    "  agentd --runtime-dir /tmp/e1/run --state-dir /tmp/e1/state --yang-dir ./model\n"
    "\n"
    "The environment variables CFM_RUNTIME_DIR, CFM_STATE_DIR and CFM_YANG_DIR stand in for\n"
    "options that are not given.";

constexpr int kUsageError = 2;

std::filesystem::path DefaultYangDirectory() {
  const char* value = std::getenv("CFM_YANG_DIR");
  return value != nullptr && *value != '\0' ? value : AGENT_YANG_DIR;
}

std::chrono::microseconds Microseconds(double seconds) {
  return std::chrono::microseconds(static_cast<std::int64_t>(seconds * 1e6));
}

}  // namespace

ParsedOptions ParseOptions(int argc, char** argv) {
  ParsedOptions parsed;
  Options& options = parsed.options;
  options.runtime_dir = ipc::RuntimeDirectory();
  options.state_dir = ipc::StateDirectory();
  options.yang_dir = DefaultYangDirectory();
  double timeout = std::chrono::duration<double>(options.subscriber_timeout).count();
  double provider_timeout = std::chrono::duration<double>(options.provider_timeout).count();
  double end_timeout = std::chrono::duration<double>(options.end_timeout).count();
  double interval = std::chrono::duration<double>(options.heartbeat.interval).count();
  std::uint16_t port = 0;

  CLI::App app("Management agent: keeps the configuration and tells programs of its changes.",
               "agentd");
  app.footer(kExamples);
  app.set_version_flag("--version", "agentd " AGENT_VERSION);
  app.add_option("--runtime-dir", options.runtime_dir, "Directory of the socket agentd.sock")
      ->capture_default_str();
  app.add_option("--state-dir", options.state_dir, "Directory of the database running.db")
      ->capture_default_str();
  app.add_option("--yang-dir", options.yang_dir, "Directory of the YANG modules")
      ->capture_default_str();
  app.add_option("--subscriber-timeout", timeout,
                 "Seconds that a subscriber may take over a change, and a commit may wait for a "
                 "lock")
      ->check(CLI::Range(0.001, 3600.0))
      ->capture_default_str();
  app.add_option("--provider-timeout", provider_timeout,
                 "Seconds that a data provider may take over a read or an action")
      ->check(CLI::Range(0.001, 3600.0))
      ->capture_default_str();
  app.add_option(
         "--end-timeout", end_timeout,
         "Seconds in which what is in work is finished when agentd is asked to end; 0: none")
      ->check(CLI::Range(0.0, 60.0))
      ->capture_default_str();
  app.add_option("--heartbeat-interval", interval,
                 "Seconds after which a program that is waited for and does nothing is asked for "
                 "a sign of life")
      ->check(CLI::Range(0.001, 3600.0))
      ->capture_default_str();
  app.add_option("--heartbeat-misses", options.heartbeat.misses,
                 "So many of these intervals without a sign of life, one after the other, and the "
                 "program is given up")
      ->check(CLI::Range(2U, 1000U))
      ->capture_default_str();
  app.add_option("--view-group", options.view_group,
                 "Group whose members may look at everything and change nothing; when there is "
                 "none of that name, nobody may")
      ->capture_default_str();
  const auto* port_option =
      app.add_option("--port", port,
                     "Also listen on this port of 127.0.0.1, for programs on the ConfD API; every "
                     "local user can connect there")
          ->check(CLI::Range(1, 65535));
  try {
    app.parse(argc, argv);
  } catch (const CLI::Success& answered) {
    parsed.exit_status = app.exit(answered);
    return parsed;
  } catch (const CLI::ParseError& error) {
    std::fprintf(stderr, "agentd: %s; see agentd --help\n", error.what());
    parsed.exit_status = kUsageError;
    return parsed;
  }
  options.subscriber_timeout = Microseconds(timeout);
  options.provider_timeout = Microseconds(provider_timeout);
  options.end_timeout = Microseconds(end_timeout);
  options.heartbeat.interval = Microseconds(interval);
  if (port_option->count() > 0) {
    options.port = port;
  }
  return parsed;
}

}  // namespace agentd
