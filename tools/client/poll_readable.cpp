#include "poll_readable.h"

#include <poll.h>

#include <cerrno>
#include <system_error>

namespace cfmctl {

bool PollReadable(const std::vector<int>& fds, const Deadline& deadline) {
  std::vector<pollfd> entries;
  for (const int fd : fds) {
    entries.push_back({fd, POLLIN, 0});
  }
  while (true) {
    const int ready = poll(entries.data(), entries.size(), deadline.PollTimeout());
    if (ready > 0) {
      return true;
    }
    if (ready == 0 && deadline.Passed()) {
      return false;
    }
    if (ready < 0 && errno != EINTR) {
      throw std::system_error(errno, std::system_category(), "wait for an answer");
    }
  }
}

}  // namespace cfmctl
