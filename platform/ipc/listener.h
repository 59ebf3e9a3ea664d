// A listening AF_UNIX socket in an event loop.
#ifndef IPC_LISTENER_H
#define IPC_LISTENER_H

#include <sys/types.h>
#include <systemd/sd-event.h>

#include <cstdint>
#include <filesystem>
#include <functional>

#include "acceptor.h"
#include "peer.h"
#include "unique_fd.h"

namespace ipc {

class Listener {
 public:
  static constexpr mode_t kMembers = 0660;

  using AcceptHandler = std::function<void(UniqueFd socket, const Peer& peer)>;

  // Listens at `path`, replacing what stands there: the caller holds the
  // InstanceLock of the directory. The path comes into being by a rename once
  // the socket listens, so whoever watches the directory can connect at
  // once. `mode` is that of the path. An exception of `on_accept`
  // costs that connection, with a line on the standard error stream. Throws
  // std::system_error naming the path.
  Listener(sd_event* loop, std::filesystem::path path, std::int64_t priority,
           AcceptHandler on_accept, mode_t mode = kMembers);
  // Stops listening and removes the path.
  ~Listener();

  Listener(const Listener&) = delete;
  Listener& operator=(const Listener&) = delete;

 private:
  std::filesystem::path path_;
  Acceptor acceptor_;
};

}  // namespace ipc

#endif
