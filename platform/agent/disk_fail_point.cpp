// The points disk_write and disk_sync: go between SQLite and the system calls
// that it writes its files with. Part of agentd in test builds only
// (CFM_FAIL_POINTS).
#include <dlfcn.h>
#include <sqlite3.h>
#include <unistd.h>

#include "fail_point.h"

namespace {

using Write = ssize_t (*)(int, const void*, std::size_t);
using WriteAt = ssize_t (*)(int, const void*, std::size_t, off_t);

ssize_t WriteOrFail(int fd, const void* data, std::size_t size) {
  return CFM_FAIL_POINT_TRANSFER(disk_write, size,
                                 [&](std::size_t part) { return write(fd, data, part); });
}

ssize_t WriteAtOrFail(int fd, const void* data, std::size_t size, off_t offset) {
  return CFM_FAIL_POINT_TRANSFER(disk_write, size,
                                 [&](std::size_t part) { return pwrite(fd, data, part, offset); });
}

// The sync that would be called without the one below. A sync counts as a
// transfer of one byte.
int SyncOrFail(const char* name, int fd) {
  using Sync = int (*)(int);
  const auto sync = reinterpret_cast<Sync>(dlsym(RTLD_NEXT, name));
  return static_cast<int>(CFM_FAIL_POINT_TRANSFER(
      disk_sync, 1, [&](std::size_t) { return static_cast<ssize_t>(sync(fd)); }));
}

static_assert(sizeof(off_t) == 8);  // so pwrite64 is pwrite

// Replaces what the process writes databases with, from before main on. SQLite
// keeps addresses of functions of any type in one type.
struct Installer {
  Installer() {
    sqlite3_vfs* const disk = sqlite3_vfs_find(nullptr);
    const Write write_or_fail = WriteOrFail;
    const WriteAt write_at_or_fail = WriteAtOrFail;
    disk->xSetSystemCall(disk, "write", reinterpret_cast<sqlite3_syscall_ptr>(write_or_fail));
    for (const char* name : {"pwrite", "pwrite64"}) {
      disk->xSetSystemCall(disk, name, reinterpret_cast<sqlite3_syscall_ptr>(write_at_or_fail));
    }
  }
} installer;

}  // namespace

// SQLite has no place to replace these; a program's own come before libc's.
extern "C" int fdatasync(int fd) {
  return SyncOrFail("fdatasync", fd);
}
extern "C" int fsync(int fd) {
  return SyncOrFail("fsync", fd);
}
