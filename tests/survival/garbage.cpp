#include "garbage.h"

#include <arpa/inet.h>
#include <sys/socket.h>

namespace survival {

std::string Frame(std::uint32_t length, const std::string& payload) {
  const std::uint32_t network = htonl(length);
  return std::string(reinterpret_cast<const char*>(&network), sizeof network) + payload;
}

std::string Noise(Chance& chance) {
  std::string noise(static_cast<std::size_t>(4 + chance.Below(5000)), '\0');
  for (char& byte : noise) {
    byte = static_cast<char>(chance.Number());
  }
  // As a length that is a frame's the beginning could make the peer wait for
  // the rest of it.
  noise[0] = '\xff';
  return noise;
}

std::array<Garbage, 4> AllGarbage(Chance& chance) {
  const std::string no_message = Frame(5, "\xff\xff\xff\xff\xff");
  return {Garbage{"noise", Noise(chance)}, Garbage{"an oversized frame", Frame(0xffffffff, "x")},
          Garbage{"a frame that is no message", no_message},
          Garbage{"an empty frame and one that is no message", Frame(0, "") + no_message}};
}

void SendBytes(int socket, const std::string& bytes) {
  // A peer that has closed already has made up its mind; AwaitClose sees that.
  [[maybe_unused]] const ssize_t sent = send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
}

void AwaitClose(Supervisor& supervisor, int socket, const std::string& what) {
  char buffer[4096];
  do {
    supervisor.AwaitReadable(socket, "the end of a connection after " + what);
  } while (recv(socket, buffer, sizeof buffer, 0) > 0);
}

}  // namespace survival
