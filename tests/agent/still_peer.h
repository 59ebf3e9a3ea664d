// A program that stands still, as a process of its own.
#ifndef TESTS_AGENT_STILL_PEER_H
#define TESTS_AGENT_STILL_PEER_H

#include <string>
#include <vector>

#include "running_agent.h"

namespace agentd::test {

// Connected in these roles (see still_program.cpp) and frozen for as long as
// this lives. Throws std::runtime_error.
class StillPeer {
 public:
  StillPeer(const RunningAgent& agent, const std::string& name,
            const std::vector<std::string>& roles);

  std::string Describe() const;  // as the agent does

 private:
  std::string name_;
  ::test::Process process_;
};

}  // namespace agentd::test

#endif
