#include "directory_watch.h"

#include <sys/inotify.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <system_error>

namespace cfmctl {

DirectoryWatch::DirectoryWatch(std::filesystem::path directory)
    : directory_(std::filesystem::absolute(directory)),
      inotify_(inotify_init1(IN_CLOEXEC | IN_NONBLOCK)) {
  if (!inotify_) {
    throw std::system_error(errno, std::system_category(), "create an inotify instance");
  }
  Rearm();
}

void DirectoryWatch::Rearm() {
  Drain();
  // A directory made between a failed attempt and the watch on its parent
  // would go unnoticed: so after a watch on an ancestor, its child is tried
  // once more.
  std::filesystem::path watched = directory_;
  std::filesystem::path missing;
  while (true) {
    const int watch =
        inotify_add_watch(inotify_.Get(), watched.c_str(), IN_CREATE | IN_MOVED_TO | IN_ONLYDIR);
    if (watch >= 0 && (missing.empty() || !std::filesystem::exists(missing))) {
      return;
    }
    if (watch >= 0) {
      watched = directory_;
      missing.clear();
      continue;
    }
    const bool can_ascend = errno == ENOENT && watched != watched.root_path();
    if (!can_ascend) {
      throw std::system_error(errno, std::system_category(), "watch " + watched.native());
    }
    missing = watched;
    watched = watched.parent_path();
  }
}

void DirectoryWatch::Drain() {
  std::array<char, 4096> events;
  while (read(inotify_.Get(), events.data(), events.size()) > 0) {
  }
}

}  // namespace cfmctl
