// Another user for a moment: who connects as whom decides what daemons allow.
#ifndef TESTS_SUPPORT_IDENTITY_H
#define TESTS_SUPPORT_IDENTITY_H

#include <sys/types.h>

#include <functional>
#include <vector>

namespace test {

struct Identity {
  uid_t uid = 0;
  gid_t gid = 0;
  std::vector<gid_t> groups{};  // supplementary ones
};

// Numbers that no account of a usual machine has.
inline constexpr uid_t kStranger = 54321;
inline constexpr gid_t kStrangersGroup = 54321;

// Whether RunAs works: it takes root.
bool CanRunAs();

// Runs `step` on a thread that is `who`; the rest of the process stays what it
// is. An exception of `step` comes out here. Throws std::system_error.
void RunAs(const Identity& who, const std::function<void()>& step);

}  // namespace test

#endif
