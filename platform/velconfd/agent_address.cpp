#include "agent_address.h"

#include <confd_lib.h>
#include <sys/socket.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "agent_error.h"

namespace velconfd {

AgentAddress::AgentAddress(const std::filesystem::path& path, std::string name)
    : client_name(std::move(name)) {
  const std::string& text = path.native();
  if (text.size() >= sizeof(address.sun_path)) {
    throw std::length_error("agent's socket " + text +
                            ": longer than a socket path can be; choose a shorter CFM_RUNTIME_DIR");
  }
  address.sun_family = AF_UNIX;
  std::memcpy(address.sun_path, text.c_str(), text.size() + 1);
}

void ThrowNotConnected(const AgentAddress& agent, int result, const char* operation) {
  const std::string text = Describe(result, operation) + " (at " + agent.Path() + ")";
  if (result == CONFD_ERR && confd_errno == CONFD_ERR_OS) {
    throw AgentAbsent(text);
  }
  throw AgentError(text);
}

int NewAgentSocket() {
  const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (fd < 0) {
    throw std::system_error(errno, std::generic_category(), "socket for the agent");
  }
  return fd;
}

}  // namespace velconfd
