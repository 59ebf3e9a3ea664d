// Keypaths as data providers know them.
#ifndef AGENT_KEYPATH_H
#define AGENT_KEYPATH_H

#include "operational_store.h"

namespace agentd {

// Of a leaf or leaf-list of the entry, leaf first. What it shares with that of
// a leaf of the entry `before`, if any, is only counted.
cfm::agent::Keypath KeypathOf(const Model& model, const OperationalEntry* before,
                              const OperationalEntry& entry, const lysc_node& leaf);

}  // namespace agentd

#endif
