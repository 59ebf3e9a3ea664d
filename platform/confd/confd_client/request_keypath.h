// Keypaths of the agent's requests.
#ifndef CONFD_CLIENT_REQUEST_KEYPATH_H
#define CONFD_CLIENT_REQUEST_KEYPATH_H

#include <agent.pb.h>

#include "confd_client/keypath_builder.h"

namespace confd {

// Adds the elements, whose strings stay the message's. Throws
// ipc::ProtocolError for more than a keypath holds and for an element that is
// neither a node nor keys.
void AddElements(const cfm::agent::Keypath& message, KeypathBuilder& keypath);

}  // namespace confd

#endif
