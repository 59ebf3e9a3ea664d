// Source files by their names alone: with the path before it, a record would
// depend on where the program was built.
#ifndef IPC_FILE_NAME_H
#define IPC_FILE_NAME_H

#include <cstring>

namespace ipc {

inline const char* FileName(const char* path) {
  const char* slash = std::strrchr(path, '/');
  return slash != nullptr ? slash + 1 : path;
}

}  // namespace ipc

#endif
