#include "confd_client/address.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/un.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>

#include "confd_client/error.h"

namespace confd {
namespace {

constexpr int kUnixPathOffset = offsetof(sockaddr_un, sun_path);

std::string UnixText(const sockaddr* address, int size) {
  const char* path = reinterpret_cast<const char*>(address) + kUnixPathOffset;
  std::string text(path, static_cast<std::size_t>(size - kUnixPathOffset));
  if (text.starts_with('\0')) {
    text.front() = '@';  // abstract
  }
  return text.substr(0, text.find('\0'));
}

std::string InternetText(const sockaddr* address) {
  sockaddr_in internet{};
  std::memcpy(&internet, address, sizeof(internet));
  std::array<char, INET_ADDRSTRLEN> host{};
  inet_ntop(AF_INET, &internet.sin_addr, host.data(), host.size());
  return std::string(host.data()) + ":" + std::to_string(ntohs(internet.sin_port));
}

}  // namespace

void CheckAddress(const sockaddr* address, int size) {
  if (address == nullptr || size < static_cast<int>(sizeof(sa_family_t))) {
    throw ApiError(CONFD_ERR_PROTOUSAGE, "the agent's address is missing or cut off");
  }
  const bool is_unix = address->sa_family == AF_UNIX && size > kUnixPathOffset;
  const bool is_internet =
      address->sa_family == AF_INET && size >= static_cast<int>(sizeof(sockaddr_in));
  if (!is_unix && !is_internet) {
    throw ApiError(CONFD_ERR_PROTOUSAGE,
                   "the agent's address is no whole AF_UNIX or AF_INET address");
  }
}

std::string AddressText(const sockaddr* address, int size) {
  return address->sa_family == AF_UNIX ? UnixText(address, size) : InternetText(address);
}

}  // namespace confd
