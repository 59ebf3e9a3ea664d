// The rows of the store as a data tree.
#ifndef AGENT_LOADER_H
#define AGENT_LOADER_H

#include "model.h"
#include "store.h"

namespace agentd {

// Not validated yet. Problems name the first row that the model has no place
// for.
Result<Tree> LoadTree(const Model& model, Store& store);

}  // namespace agentd

#endif
