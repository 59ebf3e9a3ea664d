// One text awaited in a growing log.
#ifndef TESTS_SURVIVAL_LOG_WATCH_H
#define TESTS_SURVIVAL_LOG_WATCH_H

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>

#include "unique_fd.h"

namespace survival {

using Clock = std::chrono::steady_clock;

class LogWatch {
 public:
  // What is in the log by now does not count. Throws std::system_error.
  LogWatch(const std::filesystem::path& log, std::string text);

  // Readable when it is worth to look.
  int Fd() const { return watch_.Get(); }
  // When the text was seen first.
  std::optional<Clock::time_point> Seen();

 private:
  std::filesystem::path log_;
  std::string text_;
  ipc::UniqueFd watch_;
  std::uintmax_t looked_at_;
  std::optional<Clock::time_point> seen_;
};

// What a log holds from there on.
std::string ReadLog(const std::filesystem::path& log, std::uintmax_t from);

}  // namespace survival

#endif
