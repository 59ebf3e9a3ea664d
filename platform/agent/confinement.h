// How far the constraints of the model reach.
#ifndef AGENT_CONFINEMENT_H
#define AGENT_CONFINEMENT_H

#include <vector>

#include "yang.h"

namespace agentd {

// The list of whose entries each can be validated apart from all others, and
// apart from the rest of the configuration; null when the model has none.
//
// It is an outermost list with keys. No `must`, `when` or reference in an entry
// looks at anything outside of the entry, nothing outside has a constraint or
// has to be there, and the list itself has no `unique` and no limits. That is
// worked out from the expressions' schema nodes: one that passes through a node
// above the list, or along an axis between siblings, reaches out of the entry.
const lysc_node* FindConfinedList(const std::vector<const lysc_module*>& modules);

}  // namespace agentd

#endif
