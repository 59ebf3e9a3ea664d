// Who is at the other end of a local socket, and what a daemon lets it do.
#ifndef IPC_PEER_H
#define IPC_PEER_H

#include <sys/types.h>

#include <optional>
#include <string>
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
  std::optional<gid_t> view_gid{};  // whose members may look
};

enum class Access { kNone, kView, kFull };

// Reads the credentials of a connected AF_UNIX socket. Throws
// std::system_error.
Peer CredentialsOf(int socket);

// Full for root, the daemon's own user and the members of its group; kView for
// the other members of the view group. Supplementary groups count.
Access AccessOf(const Peer& peer, const Owner& owner);

// This process. Nobody may only look when there is no group of that name now.
Owner OwnerWithViewGroup(const std::string& name);

// Mode for the socket of that owner: who only looks is no member of the
// socket's group, and is told apart from others by AccessOf.
mode_t SocketMode(const Owner& owner);

// Name of the group; its number when it has none.
std::string GroupName(gid_t gid);

}  // namespace ipc

#endif
