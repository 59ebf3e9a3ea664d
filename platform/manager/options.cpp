#include "options.h"

#include <CLI/CLI.hpp>
#include <cstdio>

#include "paths.h"

namespace cfm {
namespace {

constexpr int kUsageError = 2;

constexpr const char* kDescription =
    "CFM manager: takes the IEEE 802.1Q connectivity fault management configuration of the "
    "element from cfm-app, runs the continuity check on the element's ports, and tells cfm-app "
    "what it finds.";

constexpr const char* kExamples = R"(Examples:
  cfm-managerd
      serve the element of this machine
  cfm-managerd --runtime-dir /tmp/east --interfaces /tmp/east/interfaces
      serve a second element beside it; start its other processes with
      CFM_RUNTIME_DIR=/tmp/east and CFM_INTERFACES=/tmp/east/interfaces

Ports: one for each line of the interface table. A line `eth0 1 linux` is the
Linux interface eth0, which needs the capability CAP_NET_RAW. A line
`w0 2 wire /tmp/w` is a virtual wire: two elements of this machine whose tables
name the same path, which begins at the root, are connected by it. A file of the
wire's name with .cut at its end (touch /tmp/w.cut) cuts the wire until it is
removed.

Environment: CFM_RUNTIME_DIR and CFM_INTERFACES stand for the options that are
not given; CFM_LOG=journal|stderr chooses where the log goes.)";

}  // namespace

CommandLine ReadCommandLine(int argc, char** argv) {
  Options options{.runtime_directory = ipc::RuntimeDirectory(),
                  .interface_table = ipc::InterfaceTablePath(),
                  .view_group = "cfm-view"};
  CLI::App app(kDescription, "cfm-managerd");
  app.add_option("--runtime-dir", options.runtime_directory, "Directory of socket and lock")
      ->capture_default_str();
  app.add_option("--interfaces", options.interface_table, "Interface table of the element")
      ->capture_default_str();
  app.add_option("--view-group", options.view_group,
                 "Group whose members may observe what is configured, and no more; when there is "
                 "none of that name, nobody may")
      ->capture_default_str();
  app.set_version_flag("--version", std::string("cfm-managerd ") + CFM_VERSION);
  app.footer(kExamples);
  try {
    app.parse(argc, argv);
  } catch (const CLI::Success& answered) {
    return {.options = std::nullopt, .exit_status = app.exit(answered)};
  } catch (const CLI::ParseError& error) {
    std::fprintf(stderr, "cfm-managerd: %s; see cfm-managerd --help\n", error.what());
    return {.options = std::nullopt, .exit_status = kUsageError};
  }
  return {.options = options, .exit_status = 0};
}

}  // namespace cfm
