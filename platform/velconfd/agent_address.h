// Where the agent listens, and the name under which it sees this program.
#ifndef VELCONFD_AGENT_ADDRESS_H
#define VELCONFD_AGENT_ADDRESS_H

#include <sys/socket.h>
#include <sys/un.h>

#include <filesystem>
#include <string>

namespace velconfd {

struct AgentAddress {
  // Throws std::length_error for a path that is too long for a socket.
  AgentAddress(const std::filesystem::path& path, std::string client_name);

  const char* Path() const { return address.sun_path; }
  const sockaddr* Get() const { return reinterpret_cast<const sockaddr*>(&address); }

  sockaddr_un address{};
  std::string client_name;
};

// Throws what fits the result of a call that should connect to the agent:
// AgentAbsent when nobody listens, AgentError when it does not welcome.
[[noreturn]] void ThrowNotConnected(const AgentAddress& agent, int result, const char* operation);

// A new socket for the agent's address. Throws std::system_error.
int NewAgentSocket();

}  // namespace velconfd

#endif
