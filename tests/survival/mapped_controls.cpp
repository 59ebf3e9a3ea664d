#include "mapped_controls.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

#include "unique_fd.h"

namespace survival {

MappedControls::MappedControls(const std::filesystem::path& path) {
  const ipc::UniqueFd fd(open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
  if (!fd || ftruncate(fd.Get(), sizeof(Controls)) != 0) {
    throw std::system_error(errno, std::generic_category(), "controls " + path.string());
  }
  void* mapped = mmap(nullptr, sizeof(Controls), PROT_READ | PROT_WRITE, MAP_SHARED, fd.Get(), 0);
  if (mapped == MAP_FAILED) {
    throw std::system_error(errno, std::generic_category(), "map controls " + path.string());
  }
  controls_ = static_cast<Controls*>(mapped);
}

MappedControls::~MappedControls() {
  munmap(controls_, sizeof(Controls));
}

}  // namespace survival
