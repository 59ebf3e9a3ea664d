#include "listener.h"

#include <sys/socket.h>
#include <sys/stat.h>

#include <cerrno>
#include <system_error>
#include <utility>

#include "unix_address.h"

namespace ipc {
namespace {

[[noreturn]] void ThrowErrno(const std::filesystem::path& path, const char* operation) {
  throw std::system_error(errno, std::system_category(),
                          std::string(operation) + " '" + path.native() + "'");
}

UniqueFd ListenAt(const std::filesystem::path& path, mode_t mode) {
  const std::filesystem::path unfinished = path.parent_path() / ("." + path.filename().native());
  const UnixAddress address(unfinished);
  UniqueFd socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  if (!socket) {
    ThrowErrno(path, "create socket");
  }
  if (unlink(unfinished.c_str()) < 0 && errno != ENOENT) {
    ThrowErrno(unfinished, "remove");
  }
  if (bind(socket.Get(), address.Get(), address.Size()) < 0) {
    ThrowErrno(unfinished, "bind socket");
  }
  if (chmod(unfinished.c_str(), mode) < 0) {
    ThrowErrno(unfinished, "set mode of");
  }
  if (listen(socket.Get(), SOMAXCONN) < 0) {
    ThrowErrno(path, "listen at");
  }
  if (rename(unfinished.c_str(), path.c_str()) < 0) {
    const int cause = errno;
    unlink(unfinished.c_str());
    errno = cause;
    ThrowErrno(path, "put socket in place at");
  }
  return socket;
}

}  // namespace

Listener::Listener(sd_event* loop, std::filesystem::path path, std::int64_t priority,
                   AcceptHandler on_accept, mode_t mode)
    : path_(std::move(path)),
      acceptor_(loop, ListenAt(path_, mode), path_.native(), priority,
                [on_accept = std::move(on_accept)](UniqueFd socket) {
                  const Peer peer = CredentialsOf(socket.Get());
                  on_accept(std::move(socket), peer);
                }) {}

Listener::~Listener() {
  unlink(path_.c_str());
}

}  // namespace ipc
