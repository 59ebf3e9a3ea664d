#include "core_binding.h"

#include <cerrno>
#include <string>
#include <system_error>

namespace bench {
namespace {

// Process 0 is the calling one.
void Bind(pid_t process, const cpu_set_t& cores) {
  if (sched_setaffinity(process, sizeof cores, &cores) != 0) {
    throw std::system_error(errno, std::system_category(),
                            "bind process " + std::to_string(process) + " to a core");
  }
}

cpu_set_t FirstOf(const cpu_set_t& cores) {
  int core = 0;
  while (core < CPU_SETSIZE - 1 && !CPU_ISSET(core, &cores)) {
    ++core;
  }
  cpu_set_t first;
  CPU_ZERO(&first);
  CPU_SET(core, &first);
  return first;
}

}  // namespace

CoreBinding::CoreBinding(const std::vector<pid_t>& processes) {
  if (sched_getaffinity(0, sizeof before_, &before_) != 0) {
    throw std::system_error(errno, std::system_category(), "read the cores that may be used");
  }
  const cpu_set_t first = FirstOf(before_);
  for (const pid_t process : processes) {
    Bind(process, first);
  }
  Bind(0, first);
}

CoreBinding::~CoreBinding() {
  sched_setaffinity(0, sizeof before_, &before_);
}

}  // namespace bench
