#include "agent_address.h"

#include <confd_lib.h>
#include <sys/socket.h>
#include <sys/time.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <utility>

#include "agent_error.h"

namespace velconfd {
namespace {

// The agent answers a call at once, or after the commit that it is busy with,
// for which its own patience is 10 s by default. One that takes longer hangs,
// and must not keep this program from anything else for good.
constexpr timeval kPatience{.tv_sec = 15, .tv_usec = 0};

}  // namespace

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
    throw AgentError(std::string("socket for the agent: ") + std::strerror(errno));
  }
  for (const int direction : {SO_RCVTIMEO, SO_SNDTIMEO}) {
    setsockopt(fd, SOL_SOCKET, direction, &kPatience, sizeof(kPatience));
  }
  return fd;
}

}  // namespace velconfd
