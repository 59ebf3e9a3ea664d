// Socket addresses of local paths.
#ifndef IPC_UNIX_ADDRESS_H
#define IPC_UNIX_ADDRESS_H

#include <sys/socket.h>
#include <sys/un.h>

#include <filesystem>

namespace ipc {

struct UnixAddress {
  // Throws std::system_error (ENAMETOOLONG) for a path that no local socket
  // can have.
  explicit UnixAddress(const std::filesystem::path& path);

  const sockaddr* Get() const { return reinterpret_cast<const sockaddr*>(&address); }
  socklen_t Size() const { return sizeof(address); }

  sockaddr_un address{};
};

}  // namespace ipc

#endif
