#include <execinfo.h>
#include <unistd.h>

#include <array>
#include <cstdio>

#include "velmidware.h"

namespace {

constexpr int kMaxFrames = 64;

}  // namespace

// Straight to the standard error stream, which the service manager keeps with
// the process's records: the caller is about to end and may be out of memory.
void velmw_print_backtrace() {
  std::array<void*, kMaxFrames> frames{};
  const int count = backtrace(frames.data(), kMaxFrames);
  std::fprintf(stderr, "backtrace of %d frames:\n", count);
  backtrace_symbols_fd(frames.data(), count, STDERR_FILENO);
}
