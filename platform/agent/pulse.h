// What the kernel tells of a process without its help: whether it runs, and how
// long it has run.
#ifndef AGENT_PULSE_H
#define AGENT_PULSE_H

#include <sys/types.h>

#include <cstdint>
#include <optional>

namespace agentd {

struct Pulse {
  char state = '?';       // as in /proc/PID/stat: R, S, D, T, ...
  std::uint64_t cpu = 0;  // processor time of all its threads, in nanoseconds
};

// Nothing when there is no such process, or the kernel does not tell.
std::optional<Pulse> ReadPulse(pid_t pid);

}  // namespace agentd

#endif
