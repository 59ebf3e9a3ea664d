// Preloaded into the processes under test: a clock that is wrong and a disk
// that fails, as the controls say. A time namespace would leave the calendar
// clock alone, and a small file system needs privileges.

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/time.h>
#include <sys/types.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "controls.h"

namespace {

using survival::Controls;
using survival::ReadFault;
using survival::WriteFault;

Controls* MapControls() {
  const char* path = std::getenv(survival::kControlsVariable);
  const int fd = path == nullptr ? -1 : open(path, O_RDWR | O_CLOEXEC);
  if (fd < 0) {
    return nullptr;
  }
  void* mapped = mmap(nullptr, sizeof(Controls), PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
  close(fd);
  return mapped == MAP_FAILED ? nullptr : static_cast<Controls*>(mapped);
}

Controls* controls = nullptr;

__attribute__((constructor)) void Begin() {
  controls = MapControls();
}

template <typename Function>
Function* Real(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

time_t ClockOffset() {
  return controls == nullptr ? 0 : static_cast<time_t>(controls->clock_offset_seconds.load());
}

bool IsDatabase(int fd) {
  char link[64];
  char target[4096];
  std::snprintf(link, sizeof link, "/proc/self/fd/%d", fd);
  const ssize_t size = readlink(link, target, sizeof target - 1);
  if (size <= 0) {
    return false;
  }
  target[size] = '\0';
  const char* name = std::strrchr(target, '/');
  return name != nullptr && std::strncmp(name, "/running.db", std::strlen("/running.db")) == 0;
}

// What a write of so many bytes may do: all of them, fewer, or fail (-1).
ssize_t Allowed(int fd, size_t size) {
  if (controls == nullptr || controls->write_fault == WriteFault::kNone || !IsDatabase(fd)) {
    return static_cast<ssize_t>(size);
  }
  const bool first = controls->disk_faults++ == 0;
  const WriteFault fault = controls->write_fault;
  if (fault == WriteFault::kNoSpace || (fault == WriteFault::kShortThenFull && !first)) {
    errno = ENOSPC;
    return -1;
  }
  return static_cast<ssize_t>(size > 1 ? size / 2 : size);
}

// The same of a read.
ssize_t AllowedToRead(int fd, size_t size) {
  if (controls == nullptr || controls->read_fault == ReadFault::kNone || !IsDatabase(fd)) {
    return static_cast<ssize_t>(size);
  }
  ++controls->disk_faults;
  if (controls->read_fault == ReadFault::kFails) {
    errno = EIO;
    return -1;
  }
  return static_cast<ssize_t>(size > 1 ? size / 2 : size);
}

int SyncOr(int (*real)(int), int fd) {
  if (controls != nullptr && controls->sync_fails != 0 && IsDatabase(fd)) {
    ++controls->disk_faults;
    errno = EIO;
    return -1;
  }
  return real(fd);
}

}  // namespace

extern "C" {

int clock_gettime(clockid_t clock, timespec* now) noexcept {
  static auto* const real = Real<int(clockid_t, timespec*)>("clock_gettime");
  const int result = real(clock, now);
  if (result == 0 && (clock == CLOCK_REALTIME || clock == CLOCK_REALTIME_COARSE)) {
    now->tv_sec += ClockOffset();
  }
  return result;
}

int gettimeofday(timeval* now, void* zone) noexcept {
  static auto* const real = Real<int(timeval*, void*)>("gettimeofday");
  const int result = real(now, zone);
  if (result == 0) {
    now->tv_sec += ClockOffset();
  }
  return result;
}

time_t time(time_t* out) noexcept {
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  if (out != nullptr) {
    *out = now.tv_sec;
  }
  return now.tv_sec;
}

ssize_t write(int fd, const void* data, size_t size) {
  static auto* const real = Real<ssize_t(int, const void*, size_t)>("write");
  const ssize_t allowed = Allowed(fd, size);
  return allowed < 0 ? -1 : real(fd, data, static_cast<size_t>(allowed));
}

ssize_t pwrite(int fd, const void* data, size_t size, off_t offset) {
  static auto* const real = Real<ssize_t(int, const void*, size_t, off_t)>("pwrite");
  const ssize_t allowed = Allowed(fd, size);
  return allowed < 0 ? -1 : real(fd, data, static_cast<size_t>(allowed), offset);
}

ssize_t pwrite64(int fd, const void* data, size_t size, off64_t offset) {
  static auto* const real = Real<ssize_t(int, const void*, size_t, off64_t)>("pwrite64");
  const ssize_t allowed = Allowed(fd, size);
  return allowed < 0 ? -1 : real(fd, data, static_cast<size_t>(allowed), offset);
}

ssize_t read(int fd, void* data, size_t size) {
  static auto* const real = Real<ssize_t(int, void*, size_t)>("read");
  const ssize_t allowed = AllowedToRead(fd, size);
  return allowed < 0 ? -1 : real(fd, data, static_cast<size_t>(allowed));
}

ssize_t pread(int fd, void* data, size_t size, off_t offset) {
  static auto* const real = Real<ssize_t(int, void*, size_t, off_t)>("pread");
  const ssize_t allowed = AllowedToRead(fd, size);
  return allowed < 0 ? -1 : real(fd, data, static_cast<size_t>(allowed), offset);
}

ssize_t pread64(int fd, void* data, size_t size, off64_t offset) {
  static auto* const real = Real<ssize_t(int, void*, size_t, off64_t)>("pread64");
  const ssize_t allowed = AllowedToRead(fd, size);
  return allowed < 0 ? -1 : real(fd, data, static_cast<size_t>(allowed), offset);
}

int fsync(int fd) {
  static auto* const real = Real<int(int)>("fsync");
  return SyncOr(real, fd);
}

int fdatasync(int fd) {
  static auto* const real = Real<int(int)>("fdatasync");
  return SyncOr(real, fd);
}

}  // extern "C"
