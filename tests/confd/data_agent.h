// A script for FakeAgent that serves reads of a data tree as agentd does.
#ifndef TESTS_CONFD_DATA_AGENT_H
#define TESTS_CONFD_DATA_AGENT_H

#include <agent.pb.h>

#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace test {

// The names of the model that the tests read.
const std::vector<std::pair<std::uint32_t, std::string>>& ModelNames();

// Serves sessions on the data below `tree`, a top-level container, until the
// client closes. Paths with the node "wrong" are no paths of the model.
std::function<void(int)> ServeData(const cfm::agent::DataNode& tree);

}  // namespace test

#endif
