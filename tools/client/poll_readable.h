// poll(2) for input.
#ifndef TOOLS_CLIENT_POLL_READABLE_H
#define TOOLS_CLIENT_POLL_READABLE_H

#include <vector>

#include "deadline.h"

namespace cfmctl {

// Waits until one of the descriptors can be read or is at its end; those below
// 0 do not count. False when the deadline passed. Throws std::system_error.
bool PollReadable(const std::vector<int>& fds, const Deadline& deadline);

}  // namespace cfmctl

#endif
