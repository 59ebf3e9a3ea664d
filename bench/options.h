// The command line.
#ifndef BENCH_OPTIONS_H
#define BENCH_OPTIONS_H

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace bench {

struct Options {
  bool quick = false;
  std::filesystem::path json;
  std::vector<int> sizes;           // status records, each as Layout takes it
  std::vector<std::string> groups;  // names of kGroups; none: all
};

struct CommandLine {
  std::optional<Options> options;  // none: the program ends with exit_status
  int exit_status = 0;
};

// Prints help and what is wrong.
CommandLine ReadCommandLine(int argc, char** argv);

}  // namespace bench

#endif
