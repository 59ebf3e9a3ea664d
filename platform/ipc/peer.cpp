#include "peer.h"

#include <sys/socket.h>

#include <cerrno>
#include <system_error>

namespace ipc {
namespace {

[[noreturn]] void Fail() {
  throw std::system_error(errno, std::system_category(), "read credentials of a peer");
}

// The first call tells how much room the groups need.
std::vector<gid_t> GroupsOf(int socket) {
  socklen_t size = 0;
  if (getsockopt(socket, SOL_SOCKET, SO_PEERGROUPS, nullptr, &size) == 0) {
    return {};
  }
  if (errno != ERANGE) {
    Fail();
  }
  std::vector<gid_t> groups(size / sizeof(gid_t));
  if (getsockopt(socket, SOL_SOCKET, SO_PEERGROUPS, groups.data(), &size) < 0) {
    Fail();
  }
  return groups;
}

}  // namespace

Peer CredentialsOf(int socket) {
  ucred credentials{};
  socklen_t size = sizeof(credentials);
  if (getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &credentials, &size) < 0) {
    Fail();
  }
  return {credentials.pid, credentials.uid, credentials.gid, GroupsOf(socket)};
}

}  // namespace ipc
