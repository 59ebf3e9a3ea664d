// The running configuration as the agent shows it, read back.
#ifndef TESTS_SURVIVAL_RUNNING_TREE_H
#define TESTS_SURVIVAL_RUNNING_TREE_H

#include <agent.pb.h>

#include "random_configuration.h"

namespace survival {

// `root` is the answer to a Get of everything as a tree, without defaults.
// Throws Failure for a node that the configuration does not have.
test::Configuration ConfigurationIn(const cfm::agent::Node& root);

}  // namespace survival

#endif
