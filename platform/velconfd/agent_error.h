// Failures of calls of the ConfD C API, as exceptions.
#ifndef VELCONFD_AGENT_ERROR_H
#define VELCONFD_AGENT_ERROR_H

#include <stdexcept>
#include <string>

namespace velconfd {

// The agent is gone or refused: its connection is of no more use.
class AgentError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Nobody listens where the agent should.
class AgentAbsent : public AgentError {
 public:
  using AgentError::AgentError;
};

// "<operation>: <cause>" for the result of a call that just failed.
std::string Describe(int result, const char* operation);

// Throws AgentError when `result` is CONFD_ERR or CONFD_EOF.
void Check(int result, const char* operation);

}  // namespace velconfd

#endif
