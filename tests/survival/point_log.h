// The fail points that a process has come to, as it tells them: a pipe, so that
// neither a full disk nor a limit on files keeps a hit from being known.
#ifndef TESTS_SURVIVAL_POINT_LOG_H
#define TESTS_SURVIVAL_POINT_LOG_H

#include <filesystem>
#include <string>

#include "unique_fd.h"

namespace survival {

class PointLog {
 public:
  // Makes the pipe; a process opens it by its path, and never waits for it.
  // Throws std::system_error.
  explicit PointLog(const std::filesystem::path& path);

  // Whether that line has come since Forget.
  bool Holds(const std::string& line);
  // What comes from now on is another process's.
  void Forget();

 private:
  void Read();

  ipc::UniqueFd fd_;
  std::string lines_ = "\n";  // each between two ends of line
};

}  // namespace survival

#endif
