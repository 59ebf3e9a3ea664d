// Status that is read while nobody provides it: its records are those that the
// last provider left, or there are none.
#ifndef AGENT_UNPROVIDED_H
#define AGENT_UNPROVIDED_H

#include <string>
#include <vector>

#include "operational_store.h"
#include "providers.h"
#include "read_scope.h"

namespace agentd {

// What a reader of the path has to know, one line a cause. The lists are those
// at, around and below the path that have computed leaves.
std::vector<std::string> WarningsOfUnprovided(const Providers& providers,
                                              const ProviderModel& model,
                                              const OperationalStore& store,
                                              const InstancePath& path, const ReadScope& scope);

}  // namespace agentd

#endif
