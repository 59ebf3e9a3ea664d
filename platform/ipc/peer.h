// Who is at the other end of a local socket, and whom a daemon lets in.
#ifndef IPC_PEER_H
#define IPC_PEER_H

#include <sys/types.h>

#include <algorithm>
#include <vector>

namespace ipc {

// Credentials of a peer process at the time it connected.
struct Peer {
  pid_t pid = 0;
  uid_t uid = 0;
  gid_t gid = 0;
  std::vector<gid_t> groups{};  // supplementary groups
};

// Of the daemon that listens.
struct Owner {
  uid_t uid = 0;
  gid_t gid = 0;
};

// Reads the credentials of a connected AF_UNIX socket. Throws
// std::system_error.
Peer CredentialsOf(int socket);

// root, the daemon's own user, and the members of its group.
inline bool MayConnect(const Peer& peer, const Owner& owner) {
  return peer.uid == 0 || peer.uid == owner.uid || peer.gid == owner.gid ||
         std::find(peer.groups.begin(), peer.groups.end(), owner.gid) != peer.groups.end();
}

}  // namespace ipc

#endif
