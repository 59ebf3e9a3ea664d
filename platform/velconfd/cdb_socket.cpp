#include "cdb_socket.h"

#include <unistd.h>

namespace velconfd {

CdbSocket::CdbSocket(const AgentAddress& agent, cdb_sock_type type) : fd_(NewAgentSocket()) {
  const int result =
      cdb_connect_name(fd_, type, agent.Get(), sizeof(agent.address), agent.client_name.c_str());
  if (result != CONFD_OK) {
    close(fd_);
    ThrowNotConnected(agent, result, "cdb_connect_name");
  }
}

CdbSocket::~CdbSocket() {
  if (fd_ >= 0) {
    cdb_close(fd_);
  }
}

}  // namespace velconfd
