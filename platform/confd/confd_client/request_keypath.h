// Keypaths of the agent's requests.
#ifndef CONFD_CLIENT_REQUEST_KEYPATH_H
#define CONFD_CLIENT_REQUEST_KEYPATH_H

#include <agent.pb.h>

#include "confd_client/keypath_builder.h"

namespace confd {

// Makes the keypath that of the message, whose strings stay the message's. What
// the message shares with the one before it is taken from what stands there.
// Throws ipc::ProtocolError for more than a keypath holds, for an element that
// is neither a node nor keys, and for more shared than there is.
void ReadKeypath(const cfm::agent::Keypath& message, KeypathBuilder& keypath);

}  // namespace confd

#endif
