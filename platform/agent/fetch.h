// Reads of programs on the ConfD API.
#ifndef AGENT_FETCH_H
#define AGENT_FETCH_H

#include "agent.pb.h"
#include "model.h"
#include "snapshot.h"

namespace agentd {

// What Fetch in agent.proto promises, on one state of the configuration.
// Problems are CONFD_ERR_BADPATH.
Result<cfm::agent::DataNode> Fetch(const Model& model, const Snapshot& state,
                                   const cfm::agent::Path& path);

}  // namespace agentd

#endif
