// Notices that files come into being in a directory, which itself may not be
// there yet.
#ifndef TOOLS_CLIENT_DIRECTORY_WATCH_H
#define TOOLS_CLIENT_DIRECTORY_WATCH_H

#include <filesystem>

#include "unique_fd.h"

namespace cfmctl {

class DirectoryWatch {
 public:
  // Watches from now on. Throws std::system_error.
  explicit DirectoryWatch(std::filesystem::path directory);

  // Readable in poll(2) once something came into being since the last Rearm.
  int Fd() const { return inotify_.Get(); }
  // Takes the events and watches the directory, or its nearest ancestor that
  // is there. Whoever looks for a file after this misses none.
  void Rearm();

 private:
  void Drain();

  std::filesystem::path directory_;
  ipc::UniqueFd inotify_;
};

}  // namespace cfmctl

#endif
