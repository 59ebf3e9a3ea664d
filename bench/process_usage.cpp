#include "process_usage.h"

#include <ctime>

#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <system_error>

namespace bench {
namespace {

// The number behind `key` and a colon in a file of /proc.
long Number(const std::filesystem::path& file, const std::string& key) {
  std::ifstream lines(file);
  for (std::string line; std::getline(lines, line);) {
    if (line.compare(0, key.size() + 1, key + ':') == 0) {
      return std::stol(line.substr(key.size() + 1));
    }
  }
  throw std::runtime_error("no " + key + " in " + file.string() + ": has the process ended?");
}

std::filesystem::path ProcOf(pid_t process) {
  return std::filesystem::path("/proc") / std::to_string(process);
}

double Mebibytes(const std::filesystem::path& file, const std::string& key) {
  return static_cast<double>(Number(file, key)) / 1024;
}

}  // namespace

double CpuSeconds(pid_t process) {
  clockid_t clock{};
  timespec time{};
  const int error = clock_getcpuclockid(process, &clock);
  if (error != 0 || clock_gettime(clock, &time) != 0) {
    throw std::system_error(error != 0 ? error : errno, std::system_category(),
                            "CPU time of process " + std::to_string(process));
  }
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

long WakeUps(pid_t process) {
  long count = 0;
  for (const auto& thread : std::filesystem::directory_iterator(ProcOf(process) / "task")) {
    count += Number(thread.path() / "status", "voluntary_ctxt_switches");
  }
  return count;
}

Memory MemoryOf(pid_t process) {
  const std::filesystem::path status = ProcOf(process) / "status";
  return {.resident = Mebibytes(status, "VmRSS"), .anonymous = Mebibytes(status, "RssAnon")};
}

}  // namespace bench
