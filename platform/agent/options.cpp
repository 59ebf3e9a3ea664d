#include "options.h"

#include <CLI/CLI.hpp>
#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <string>

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

using Seconds = std::chrono::duration<double>;

std::string TextOf(Seconds duration) {
  std::ostringstream text;
  text << duration.count();
  return text.str();
}

struct Duration {
  const char* name;
  std::chrono::microseconds* value;
  CLI::Range range;  // in seconds
  const char* text;
};

void AddDirectories(CLI::App& app, Options& options) {
  options.runtime_dir = ipc::RuntimeDirectory();
  options.state_dir = ipc::StateDirectory();
  options.yang_dir = DefaultYangDirectory();
  app.add_option("--runtime-dir", options.runtime_dir, "Directory of the socket agentd.sock")
      ->capture_default_str();
  app.add_option("--state-dir", options.state_dir, "Directory of the database running.db")
      ->capture_default_str();
  app.add_option("--yang-dir", options.yang_dir, "Directory of the YANG modules")
      ->capture_default_str();
}

void AddDurations(CLI::App& app, Options& options) {
  const Duration durations[] = {
      {"--subscriber-timeout", &options.subscriber_timeout, CLI::Range(0.001, 3600.0),
       "Seconds that a subscriber may take over a change, and a commit may wait for a lock"},
      {"--provider-timeout", &options.provider_timeout, CLI::Range(0.001, 3600.0),
       "Seconds that a data provider may take over a read or an action"},
      {"--end-timeout", &options.end_timeout, CLI::Range(0.0, 60.0),
       "Seconds in which what is in work is finished when agentd is asked to end; 0: none"},
      {"--heartbeat-interval", &options.heartbeat.interval, CLI::Range(0.001, 3600.0),
       "Seconds after which a program that is waited for and does nothing is asked for a sign of "
       "life"},
  };
  for (const Duration& duration : durations) {
    const auto store = [value = duration.value](double seconds) {
      *value = std::chrono::duration_cast<std::chrono::microseconds>(Seconds(seconds));
    };
    app.add_option_function<double>(duration.name, store, duration.text)
        ->check(duration.range)
        ->default_str(TextOf(Seconds(*duration.value)));
  }
  app.add_option("--heartbeat-misses", options.heartbeat.misses,
                 "So many of these intervals without a sign of life, one after the other, and the "
                 "program is given up")
      ->check(CLI::Range(2U, 1000U))
      ->capture_default_str();
}

void AddAccess(CLI::App& app, Options& options) {
  app.add_option("--view-group", options.view_group,
                 "Group whose members may look at everything and change nothing; when there is "
                 "none of that name, nobody may")
      ->capture_default_str();
  app.add_option("--port", options.port,
                 "Also listen on this port of 127.0.0.1, for programs on the ConfD API; every "
                 "local user can connect there")
      ->check(CLI::Range(1, 65535));
}

}  // namespace

ParsedOptions ParseOptions(int argc, char** argv) {
  ParsedOptions parsed;
  CLI::App app("Management agent: keeps the configuration and tells programs of its changes.",
               "agentd");
  app.footer(kExamples);
  app.set_version_flag("--version", "agentd " AGENT_VERSION);
  AddDirectories(app, parsed.options);
  AddDurations(app, parsed.options);
  AddAccess(app, parsed.options);
  try {
    app.parse(argc, argv);
  } catch (const CLI::Success& answered) {
    parsed.exit_status = app.exit(answered);
  } catch (const CLI::ParseError& error) {
    std::fprintf(stderr, "agentd: %s; see agentd --help\n", error.what());
    parsed.exit_status = kUsageError;
  }
  return parsed;
}

}  // namespace agentd
