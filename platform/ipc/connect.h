// Finding the listening side of a local socket.
#ifndef IPC_CONNECT_H
#define IPC_CONNECT_H

#include <systemd/sd-event.h>

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>

#include "unique_fd.h"

namespace ipc {

// Blocking, close-on-exec connection. Throws std::system_error naming the
// path.
UniqueFd ConnectUnix(const std::filesystem::path& path);

// Calls back when it is worth trying to connect to `path`: once soon after
// Start, and from then on whenever a file of that name appears in its
// directory, until Stop. Costs no wake-up while nothing happens; a slow timer
// steps in only where the directory cannot be watched.
class SocketWatch {
 public:
  SocketWatch(sd_event* loop, std::filesystem::path path, std::int64_t priority,
              std::function<void()> on_candidate);
  ~SocketWatch();

  SocketWatch(const SocketWatch&) = delete;
  SocketWatch& operator=(const SocketWatch&) = delete;

  void Start();
  void Stop();

 private:
  class Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace ipc

#endif
