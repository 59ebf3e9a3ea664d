// Whether a configuration obeys the model.
#ifndef AGENT_VALIDATION_H
#define AGENT_VALIDATION_H

#include "model.h"

namespace agentd {

// Adds the implicit nodes (defaults, containers without presence) and checks
// every constraint but the capacities (capacity.h). All that is wrong is
// reported, not only the first; each problem names the instance and the rule.
Problems Validate(const Model& model, Tree& tree);

// Only the implicit nodes.
void AddImplicitNodes(const Model& model, Tree& tree);

}  // namespace agentd

#endif
