#include "log_watch.h"

#include <sys/inotify.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <iterator>
#include <system_error>

namespace survival {

std::string ReadLog(const std::filesystem::path& log, std::uintmax_t from) {
  std::ifstream file(log);
  file.seekg(static_cast<std::streamoff>(from));
  return {std::istreambuf_iterator<char>(file), {}};
}

LogWatch::LogWatch(const std::filesystem::path& log, std::string text)
    : log_(log),
      text_(std::move(text)),
      watch_(inotify_init1(IN_CLOEXEC | IN_NONBLOCK)),
      looked_at_(std::filesystem::file_size(log)) {
  if (!watch_ || inotify_add_watch(watch_.Get(), log_.c_str(), IN_MODIFY) < 0) {
    throw std::system_error(errno, std::generic_category(), "watch " + log_.string());
  }
}

std::optional<Clock::time_point> LogWatch::Seen() {
  char events[4096];
  while (read(watch_.Get(), events, sizeof events) > 0) {
  }
  if (!seen_) {
    const std::string added = ReadLog(log_, looked_at_);
    if (added.find(text_) != std::string::npos) {
      seen_ = Clock::now();
    }
    // The text may stand across what was there and what comes.
    looked_at_ += added.size() - std::min(added.size(), text_.size());
  }
  return seen_;
}

}  // namespace survival
