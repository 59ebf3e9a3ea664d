// When the CFM manager has applied a configuration. It is shown the number
// only, so that the observation costs neither process anything that grows with
// the configuration.
#ifndef BENCH_APPLIED_OBSERVER_H
#define BENCH_APPLIED_OBSERVER_H

#include <cstdint>
#include <filesystem>
#include <string_view>

#include "channel.h"
#include "clock.h"
#include "loop.h"

namespace bench {

class AppliedObserver {
 public:
  // Connects, and has been shown what the manager holds now. Throws
  // std::system_error, std::runtime_error.
  AppliedObserver(Loop& loop, const std::filesystem::path& runtime_directory);

  // How many configurations were applied since.
  int Count() const { return count_; }
  // The last one: when this process read of it.
  Clock::time_point Time() const { return time_; }

 private:
  void Take(std::string_view payload);

  bool welcome_ = false;
  int count_ = -1;  // the first is shown without a change
  Clock::time_point time_;
  ipc::Channel channel_;
};

}  // namespace bench

#endif
