#include "instance_lock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <array>
#include <cerrno>
#include <stdexcept>
#include <system_error>

namespace ipc {
namespace {

[[noreturn]] void ThrowErrno(const std::string& operation) {
  throw std::system_error(errno, std::system_category(), operation);
}

UniqueFd OpenLockFile(const std::filesystem::path& path) {
  UniqueFd file(open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0640));
  if (!file) {
    ThrowErrno("open lock file '" + path.native() + "'");
  }
  return file;
}

// What the holder wrote; empty in the moment before it did.
std::string HolderPid(int file) {
  std::array<char, 24> text{};
  const ssize_t size = pread(file, text.data(), text.size(), 0);
  std::string pid(text.data(), size > 0 ? static_cast<std::size_t>(size) : 0);
  return pid.substr(0, pid.find('\n'));
}

void WritePid(int file, const std::filesystem::path& path) {
  const std::string pid = std::to_string(getpid()) + "\n";
  if (ftruncate(file, 0) < 0 ||
      pwrite(file, pid.data(), pid.size(), 0) != static_cast<ssize_t>(pid.size())) {
    ThrowErrno("write lock file '" + path.native() + "'");
  }
}

}  // namespace

InstanceLock::InstanceLock(const std::filesystem::path& directory, const std::string& name) {
  if (mkdir(directory.c_str(), 0750) < 0 && errno != EEXIST) {
    ThrowErrno("create directory '" + directory.native() + "'");
  }
  const std::filesystem::path path = directory / (name + ".lock");
  file_ = OpenLockFile(path);
  if (flock(file_.Get(), LOCK_EX | LOCK_NB) < 0) {
    if (errno != EWOULDBLOCK) {
      ThrowErrno("lock '" + path.native() + "'");
    }
    throw std::runtime_error(name + " already runs (process " + HolderPid(file_.Get()) + ") in '" +
                             directory.native() + "': stop it, or give each its own directory");
  }
  WritePid(file_.Get(), path);
}

}  // namespace ipc
