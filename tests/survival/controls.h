// What the campaign tells the library that is preloaded into the processes,
// in a file that all of them map.
#ifndef TESTS_SURVIVAL_CONTROLS_H
#define TESTS_SURVIVAL_CONTROLS_H

#include <atomic>
#include <cstdint>

namespace survival {

// The environment variable that names the file.
inline constexpr const char* kControlsVariable = "CFM_SURVIVAL_CONTROLS";

enum class WriteFault : std::int32_t {
  kNone,
  kNoSpace,        // every write fails with ENOSPC
  kShort,          // every write of more than one byte does half
  kShortThenFull,  // the first write does half, each further one fails with ENOSPC
};

enum class ReadFault : std::int32_t {
  kNone,
  kFails,  // every read fails with EIO
  kShort,  // every read of more than one byte does half
};

// All zero: nothing is disturbed.
struct Controls {
  // Added to CLOCK_REALTIME, and to nothing else.
  std::atomic<std::int64_t> clock_offset_seconds;
  // Of files whose name begins with running.db.
  std::atomic<WriteFault> write_fault;
  std::atomic<ReadFault> read_fault;
  std::atomic<std::int32_t> sync_fails;
  // How often these did something.
  std::atomic<std::int32_t> disk_faults;
};
static_assert(std::atomic<std::int64_t>::is_always_lock_free);

}  // namespace survival

#endif
