// What a program may write without asking each time.
#ifndef AGENT_WRITABLE_LEAVES_H
#define AGENT_WRITABLE_LEAVES_H

#include <vector>

#include "agent.pb.h"
#include "provider_model.h"

namespace agentd {

// The leaves of a list's entries that programs may set, those only of which a
// few words say which values are sure to be taken: enumerations, and numbers
// and strings without constraints.
std::vector<cfm::agent::WritableLeaf> WritableLeavesOf(const lysc_node& list,
                                                       const ProviderModel& providers);

}  // namespace agentd

#endif
