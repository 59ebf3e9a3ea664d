// One CDB connection to the agent.
#ifndef VELCONFD_CDB_SOCKET_H
#define VELCONFD_CDB_SOCKET_H

#include <confd_cdb.h>

#include <utility>

#include "agent_address.h"

namespace velconfd {

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
