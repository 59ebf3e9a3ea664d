#include "machine.h"

#include <sched.h>
#include <sys/utsname.h>

#include <fstream>

namespace bench {
namespace {

constexpr const char* kUnknown = "unknown";

// The text behind the colon of the first line that begins with `key`.
std::string Lookup(const char* file, const std::string& key) {
  std::ifstream lines(file);
  for (std::string line; std::getline(lines, line);) {
    const std::size_t colon = line.find(':');
    if (line.compare(0, key.size(), key) == 0 && colon != std::string::npos) {
      const std::size_t begin = line.find_first_not_of(" \t", colon + 1);
      return begin == std::string::npos ? kUnknown : line.substr(begin);
    }
  }
  return kUnknown;
}

std::string Cores() {
  cpu_set_t cores;
  return sched_getaffinity(0, sizeof cores, &cores) == 0 ? std::to_string(CPU_COUNT(&cores))
                                                         : kUnknown;
}

std::string Kernel() {
  utsname name{};
  return uname(&name) == 0 ? std::string(name.sysname) + ' ' + name.release + ' ' + name.machine
                           : kUnknown;
}

}  // namespace

std::vector<std::pair<std::string, std::string>> DescribeMachine() {
  return {{"cores", Cores()},
          {"cpu", Lookup("/proc/cpuinfo", "model name")},
          {"kernel", Kernel()},
          {"memory", Lookup("/proc/meminfo", "MemTotal")},
          {"build", BENCH_BUILD_TYPE ", " BENCH_COMPILER}};
}

std::string LoadAverage() {
  std::string load = kUnknown;
  std::ifstream("/proc/loadavg") >> load;
  return load;
}

}  // namespace bench
