// Socket addresses as the C API takes them.
#ifndef CONFD_CLIENT_ADDRESS_H
#define CONFD_CLIENT_ADDRESS_H

#include <sys/socket.h>

#include <string>

namespace confd {

// Throws ApiError for an address that is null, cut off or of a family other
// than AF_UNIX and AF_INET.
void CheckAddress(const sockaddr* address, int size);

// "/run/cfm/agentd.sock" or "127.0.0.1:4565". The address has passed
// CheckAddress.
std::string AddressText(const sockaddr* address, int size);

}  // namespace confd

#endif
