// The other end of a wire port, in the hands of a test.
#ifndef TESTS_SYSTEM_WIRE_PEER_H
#define TESTS_SYSTEM_WIRE_PEER_H

#include <filesystem>

#include "bytes.h"
#include "unique_fd.h"

namespace test {

class WirePeer {
 public:
  // Connects to the port that listens at the path, and greets it. Throws
  // std::system_error, or std::runtime_error for what is no wire.
  explicit WirePeer(const std::filesystem::path& wire);

  // One frame, any octets. Throws std::system_error.
  void Send(cfm::engine::ByteView frame) const;

 private:
  ipc::UniqueFd socket_;
};

}  // namespace test

#endif
