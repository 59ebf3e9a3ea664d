#include "point_log.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace survival {

PointLog::PointLog(const std::filesystem::path& path) {
  if (mkfifo(path.c_str(), 0600) != 0) {
    throw std::system_error(errno, std::generic_category(), "make the pipe " + path.string());
  }
  // For both, so that there is always a reader, and never an end.
  fd_ = ipc::UniqueFd(open(path.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC));
  if (!fd_) {
    throw std::system_error(errno, std::generic_category(), "open the pipe " + path.string());
  }
}

bool PointLog::Holds(const std::string& line) {
  Read();
  return lines_.find("\n" + line + "\n") != std::string::npos;
}

void PointLog::Forget() {
  Read();
  lines_ = "\n";
}

void PointLog::Read() {
  char buffer[4096];
  for (ssize_t size; (size = read(fd_.Get(), buffer, sizeof buffer)) > 0;) {
    lines_.append(buffer, static_cast<std::size_t>(size));
  }
}

}  // namespace survival
