// The campaign's side of the controls.
#ifndef TESTS_SURVIVAL_MAPPED_CONTROLS_H
#define TESTS_SURVIVAL_MAPPED_CONTROLS_H

#include <filesystem>

#include "controls.h"

namespace survival {

class MappedControls {
 public:
  // Makes the file, all zero. Throws std::system_error.
  explicit MappedControls(const std::filesystem::path& path);
  ~MappedControls();
  MappedControls(const MappedControls&) = delete;
  MappedControls& operator=(const MappedControls&) = delete;

  Controls* operator->() { return controls_; }

 private:
  Controls* controls_;
};

}  // namespace survival

#endif
