// Processes on one core: which of them runs where is then no matter of luck.
#ifndef BENCH_CORE_BINDING_H
#define BENCH_CORE_BINDING_H

#include <sched.h>
#include <sys/types.h>

#include <vector>

namespace bench {

class CoreBinding {
 public:
  // Binds these processes and the calling one to the first core that may be
  // used. Throws std::system_error.
  explicit CoreBinding(const std::vector<pid_t>& processes);
  // Lets the calling process use again what it could before.
  ~CoreBinding();

  CoreBinding(const CoreBinding&) = delete;
  CoreBinding& operator=(const CoreBinding&) = delete;

 private:
  cpu_set_t before_{};
};

}  // namespace bench

#endif
