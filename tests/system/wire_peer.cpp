#include "wire_peer.h"

#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <stdexcept>
#include <string_view>
#include <system_error>

#include "unix_address.h"

namespace test {
namespace {

constexpr std::string_view kGreeting = "cfm wire 1";

[[noreturn]] void Fail(const char* what) {
  throw std::system_error(errno, std::generic_category(), what);
}

}  // namespace

WirePeer::WirePeer(const std::filesystem::path& wire)
    : socket_(socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0)) {
  const ipc::UnixAddress address(wire);
  if (!socket_ || connect(socket_.Get(), address.Get(), address.Size()) != 0) {
    Fail("connect to a wire");
  }
  Send({reinterpret_cast<const std::uint8_t*>(kGreeting.data()), kGreeting.size()});
  std::array<char, 64> greeting{};
  const ssize_t count = recv(socket_.Get(), greeting.data(), greeting.size(), 0);
  if (count < 0 ||
      std::string_view(greeting.data(), static_cast<std::size_t>(count)) != kGreeting) {
    throw std::runtime_error("the other end is no wire");
  }
}

void WirePeer::Send(cfm::engine::ByteView frame) const {
  if (send(socket_.Get(), frame.data(), frame.size(), MSG_NOSIGNAL) < 0) {
    Fail("send over a wire");
  }
}

}  // namespace test
