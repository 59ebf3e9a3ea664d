#include "pulse.h"

#include <time.h>

#include <fstream>
#include <string>

namespace agentd {
namespace {

// The clock of the process and not the times in /proc: those count in steps of
// 10 ms, and a step of a short-lived request is far below that.
std::optional<std::uint64_t> CpuTime(pid_t pid) {
  constexpr std::uint64_t kNanosecondsPerSecond = 1'000'000'000;
  clockid_t clock{};
  timespec time{};
  if (clock_getcpuclockid(pid, &clock) != 0 || clock_gettime(clock, &time) != 0) {
    return std::nullopt;
  }
  return static_cast<std::uint64_t>(time.tv_sec) * kNanosecondsPerSecond +
         static_cast<std::uint64_t>(time.tv_nsec);
}

// "42 (name) S ...": the name may hold anything, parentheses too.
std::optional<char> StateOf(pid_t pid) {
  std::ifstream file("/proc/" + std::to_string(pid) + "/stat");
  std::string line;
  std::getline(file, line);
  const auto name_end = line.rfind(") ");
  if (name_end == std::string::npos || name_end + 2 >= line.size()) {
    return std::nullopt;
  }
  return line[name_end + 2];
}

}  // namespace

std::optional<Pulse> ReadPulse(pid_t pid) {
  const auto state = StateOf(pid);
  const auto cpu = CpuTime(pid);
  return state && cpu ? std::optional(Pulse{*state, *cpu}) : std::nullopt;
}

}  // namespace agentd
