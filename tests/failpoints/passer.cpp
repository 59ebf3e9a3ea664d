// Passes a step three times, then has a transfer of ten bytes made three times,
// and says how each went.
#include <sys/types.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "fail_point.h"

int main() {
  for (int pass = 1; pass <= 3; ++pass) {
    CFM_FAIL_POINT(agent_commit_stored);
    std::printf("pass %d\n", pass);
    std::fflush(stdout);
  }
  for (int pass = 1; pass <= 3; ++pass) {
    const ssize_t count = CFM_FAIL_POINT_TRANSFER(
        frame_send, 10, [](std::size_t size) { return static_cast<ssize_t>(size); });
    std::printf("%zd %s\n", count, count < 0 ? strerrorname_np(errno) : "ok");
  }
  return 0;
}
