// At most one process of a name per directory.
#ifndef IPC_INSTANCE_LOCK_H
#define IPC_INSTANCE_LOCK_H

#include <filesystem>
#include <string>

#include "unique_fd.h"

namespace ipc {

// Holds `directory`/`name`.lock for the life of the object; the lock goes
// with the process however it ends.
class InstanceLock {
 public:
  // Creates the directory when its parent exists. Throws std::runtime_error
  // that names the other process and the directory and says what to do, or
  // std::system_error when the directory cannot be used.
  InstanceLock(const std::filesystem::path& directory, const std::string& name);

 private:
  UniqueFd file_;
};

}  // namespace ipc

#endif
