#include "still_peer.h"

#include <stdexcept>

namespace agentd::test {
namespace {

std::vector<std::string> CommandOf(const RunningAgent& agent, const std::string& name,
                                   const std::vector<std::string>& roles) {
  std::vector<std::string> command = {TEST_STILL_PROGRAM, agent.Socket(), name};
  command.insert(command.end(), roles.begin(), roles.end());
  return command;
}

}  // namespace

StillPeer::StillPeer(const RunningAgent& agent, const std::string& name,
                     const std::vector<std::string>& roles)
    : name_(name),
      process_(CommandOf(agent, name, roles),
               {.environment = {}, .directory = agent.Directory(), .name = name}) {
  if (!process_.AwaitReady()) {
    throw std::runtime_error("still_program: " + process_.Log());
  }
  process_.Freeze();
}

std::string StillPeer::Describe() const {
  return name_ + " (process " + std::to_string(process_.Pid()) + ")";
}

}  // namespace agentd::test
