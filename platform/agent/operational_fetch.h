// Reads of programs from the operational datastore: what programs wrote, as it
// is now.
#ifndef AGENT_OPERATIONAL_FETCH_H
#define AGENT_OPERATIONAL_FETCH_H

#include "operational_store.h"

namespace agentd {

// What Fetch in agent.proto promises. Problems are CONFD_ERR_BADPATH.
Result<cfm::agent::DataNode> FetchOperational(const Model& model, const OperationalStore& store,
                                              const cfm::agent::Path& path);

}  // namespace agentd

#endif
