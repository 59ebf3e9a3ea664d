// Bytes that are no message.
#ifndef TESTS_SURVIVAL_GARBAGE_H
#define TESTS_SURVIVAL_GARBAGE_H

#include <array>
#include <cstdint>
#include <string>

#include "context.h"

namespace survival {

struct Garbage {
  const char* name;
  std::string bytes;  // a peer closes its connection after them
};

std::array<Garbage, 4> AllGarbage(Chance& chance);
// Of no size that a frame may have.
std::string Noise(Chance& chance);
std::string Frame(std::uint32_t length, const std::string& payload);

void SendBytes(int socket, const std::string& bytes);
// Until the peer has closed its side. Throws Failure.
void AwaitClose(Supervisor& supervisor, int socket, const std::string& what);

}  // namespace survival

#endif
