// Keypaths as data providers know them.
#ifndef AGENT_KEYPATH_H
#define AGENT_KEYPATH_H

#include "operational_store.h"

namespace agentd {

// Of a leaf or leaf-list of the entry, leaf first.
cfm::agent::Keypath KeypathOf(const Model& model, const OperationalEntry& entry,
                              const lysc_node& leaf);

}  // namespace agentd

#endif
