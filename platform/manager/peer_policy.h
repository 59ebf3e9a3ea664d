// Who may talk to the manager.
#ifndef CFM_MANAGER_PEER_POLICY_H
#define CFM_MANAGER_PEER_POLICY_H

#include <sys/types.h>

#include "listener.h"

namespace cfm {

// The manager's own user and group.
struct Owner {
  uid_t uid = 0;
  gid_t gid = 0;
};

// root, the manager's own user, and the members of its group that run with it.
inline bool MayConnect(const ipc::Peer& peer, const Owner& owner) {
  return peer.uid == 0 || peer.uid == owner.uid || peer.gid == owner.gid;
}

}  // namespace cfm

#endif
