// The way to the agent, the same for every kind of connection: connect, then
// greet.
#ifndef CONFD_CLIENT_DIAL_H
#define CONFD_CLIENT_DIAL_H

#include <agent.pb.h>
#include <sys/socket.h>

#include "confd_client/address.h"
#include "confd_client/error.h"
#include "confd_client/link.h"

namespace confd {

// Connects the caller's socket. Throws ApiError.
void Connect(int fd, const sockaddr* address, int size);

// Introduces the program in the role of `hello`; without a name it is that of
// confd_init. Learns the names of the agent's models. Throws ApiError when the
// agent does not welcome it.
cfm::agent::HelloReply Greet(Link& link, cfm::agent::Hello hello);

// Connects, and adds to a failure which agent it is about. A connection that
// is not made is no end of one: there is no CONFD_EOF here.
template <typename Body>
int WithAddress(const sockaddr* address, int size, Body body) noexcept {
  return Guarded([&] {
    CheckAddress(address, size);
    try {
      body();
      return CONFD_OK;
    } catch (const ApiError& error) {
      throw ApiError(error.Code(), "agent at " + AddressText(address, size) + ": " + error.what());
    }
  });
}

}  // namespace confd

#endif
