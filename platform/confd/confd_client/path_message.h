// Paths and keys in the agent's protocol.
#ifndef CONFD_CLIENT_PATH_MESSAGE_H
#define CONFD_CLIENT_PATH_MESSAGE_H

#include <agent.pb.h>

#include <string>

#include "confd_client/path.h"

namespace confd {

cfm::agent::Path PathMessage(const Path& path);

// IndexText of the keys that a message holds. Throws ipc::ProtocolError for a
// value that cannot be a key.
std::string IndexText(const google::protobuf::RepeatedPtrField<cfm::agent::Value>& keys);

}  // namespace confd

#endif
