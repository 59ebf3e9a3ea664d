// How much of the model's capacities a configuration takes.
#ifndef AGENT_CAPACITY_H
#define AGENT_CAPACITY_H

#include <cstddef>
#include <map>
#include <string>
#include <utility>

#include "model.h"

namespace agentd {

// Instances counted, by the capacity and the path of the node that has it.
using Usage = std::map<std::pair<const Capacity*, std::string>, std::size_t>;

Usage UsageOf(const Model& model, const lyd_node* top);

// What a change makes of `all` that has `before` in it and gets `after`.
Usage Changed(Usage all, const Usage& before, const Usage& after);

// Reports what is over its limit.
void CheckCapacities(const Usage& usage, Problems& problems);

}  // namespace agentd

#endif
