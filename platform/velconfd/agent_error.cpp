#include "agent_error.h"

#include <confd_lib.h>

#include <string>

namespace velconfd {

std::string Describe(int result, const char* operation) {
  const char* cause = result == CONFD_EOF ? "the agent closed the connection" : confd_lasterr();
  return std::string(operation) + ": " + cause;
}

void Check(int result, const char* operation) {
  if (result < 0) {
    throw AgentError(Describe(result, operation));
  }
}

}  // namespace velconfd
