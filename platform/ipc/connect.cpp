#include "connect.h"

#include <sys/socket.h>

#include <cerrno>
#include <system_error>

#include "unix_address.h"

namespace ipc {

UniqueFd ConnectUnix(const std::filesystem::path& path) {
  const UnixAddress address(path);
  UniqueFd socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  if (!socket) {
    throw std::system_error(errno, std::system_category(), "create a local socket");
  }
  while (connect(socket.Get(), address.Get(), address.Size()) < 0) {
    if (errno != EINTR) {
      throw std::system_error(errno, std::system_category(), "connect to '" + path.native() + "'");
    }
  }
  return socket;
}

}  // namespace ipc
