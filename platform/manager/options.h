// Command line of cfm-managerd.
#ifndef CFM_MANAGER_OPTIONS_H
#define CFM_MANAGER_OPTIONS_H

#include <filesystem>
#include <optional>
#include <string>

namespace cfm {

struct Options {
  std::filesystem::path runtime_directory;
  std::filesystem::path interface_table;
  std::string view_group;  // whose members may observe
};

// Either options to run with, or the exit status of a command line that was
// answered at once (--help, --version, an error).
struct CommandLine {
  std::optional<Options> options;
  int exit_status = 0;
};

CommandLine ReadCommandLine(int argc, char** argv);

}  // namespace cfm

#endif
