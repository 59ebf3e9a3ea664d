// One CDB connection to the agent.
#ifndef VELCONFD_CDB_SOCKET_H
#define VELCONFD_CDB_SOCKET_H

#include <confd_cdb.h>
#include <sys/un.h>

#include <filesystem>
#include <string>
#include <utility>

namespace velconfd {

// Where the agent listens, and the name under which it sees this program.
struct AgentAddress {
  // Throws std::length_error for a path that is too long for a socket.
  AgentAddress(const std::filesystem::path& path, std::string client_name);

  const char* Path() const { return address.sun_path; }
  const sockaddr* Get() const { return reinterpret_cast<const sockaddr*>(&address); }

  sockaddr_un address{};
  std::string client_name;
};

// Owns the socket; cdb_close ends it. Movable.
class CdbSocket {
 public:
  // Throws AgentAbsent when nobody listens, AgentError when the agent does
  // not welcome the connection, std::system_error without a socket.
  CdbSocket(const AgentAddress& agent, cdb_sock_type type);
  CdbSocket(CdbSocket&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
  CdbSocket& operator=(CdbSocket&& other) noexcept {
    std::swap(fd_, other.fd_);
    return *this;
  }
  ~CdbSocket();

  int Get() const { return fd_; }

 private:
  int fd_;
};

}  // namespace velconfd

#endif
