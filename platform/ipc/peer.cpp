#include "peer.h"

#include <grp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
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

bool IsMember(const Peer& peer, gid_t gid) {
  return peer.gid == gid ||
         std::find(peer.groups.begin(), peer.groups.end(), gid) != peer.groups.end();
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

Access AccessOf(const Peer& peer, const Owner& owner) {
  if (peer.uid == 0 || peer.uid == owner.uid || IsMember(peer, owner.gid)) {
    return Access::kFull;
  }
  return owner.view_gid && IsMember(peer, *owner.view_gid) ? Access::kView : Access::kNone;
}

Owner OwnerWithViewGroup(const std::string& name) {
  Owner owner{.uid = geteuid(), .gid = getegid()};
  if (const group* found = getgrnam(name.c_str())) {
    owner.view_gid = found->gr_gid;
  }
  return owner;
}

mode_t SocketMode(const Owner& owner) {
  return owner.view_gid ? 0666 : 0660;
}

std::string GroupName(gid_t gid) {
  const group* found = getgrgid(gid);
  return found != nullptr ? found->gr_name : std::to_string(gid);
}

}  // namespace ipc
