// After a step: everything comes to rest, and is what the model says.
#ifndef TESTS_SURVIVAL_REST_H
#define TESTS_SURVIVAL_REST_H

#include "supervisor.h"

namespace survival {

// Waits until all processes of the node are there and know of each other.
// Then compares the running configuration, the manager's hierarchy, the
// operational lists and a read of everything with the model. A commit whose
// outcome is unknown is taken for what is there. Throws Failure with the first
// difference that stays, and when anything is incomplete though nothing happens
// to the node meanwhile.
void AwaitRest(Supervisor& supervisor, Node& node, Report& report);

// The records that the operational lists have at rest, as RecordsView names
// them: of each local MEP, and of each remote MEP that a local one looks for.
std::multiset<std::string> ExpectedRecords(const test::Configuration& configuration);

}  // namespace survival

#endif
