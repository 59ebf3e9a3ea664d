#include "identity.h"

#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <exception>
#include <system_error>
#include <thread>

namespace test {
namespace {

// The system calls themselves change the calling thread alone; what the C
// library makes of them changes all.
void Become(const Identity& who) {
  if (syscall(SYS_setgroups, who.groups.size(), who.groups.data()) < 0 ||
      syscall(SYS_setresgid, who.gid, who.gid, who.gid) < 0 ||
      syscall(SYS_setresuid, who.uid, who.uid, who.uid) < 0) {
    throw std::system_error(errno, std::system_category(), "become another user");
  }
}

}  // namespace

bool CanRunAs() {
  return geteuid() == 0;
}

void RunAs(const Identity& who, const std::function<void()>& step) {
  std::exception_ptr failure;
  std::thread([&who, &step, &failure] {
    try {
      Become(who);
      step();
    } catch (...) {
      failure = std::current_exception();
    }
  }).join();
  if (failure) {
    std::rethrow_exception(failure);
  }
}

}  // namespace test
