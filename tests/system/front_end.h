// A front end of the agent's, for tests that need more than cfmctl gives.
#ifndef TESTS_SYSTEM_FRONT_END_H
#define TESTS_SYSTEM_FRONT_END_H

#include <agent.pb.h>

#include <filesystem>
#include <string>

#include "unique_fd.h"

namespace test {

// A request for status below an instance path, as a tree.
cfm::agent::Request ReadOf(const std::string& path);

// One blocking connection, in that role. Throws what the ipc library throws, and when an
// answer takes longer than kPatience.
class FrontEnd {
 public:
  explicit FrontEnd(const std::filesystem::path& runtime_directory,
                    cfm::agent::Role role = cfm::agent::ROLE_FRONT_END);

  void Send(const cfm::agent::Request& request);
  cfm::agent::Reply Receive();
  cfm::agent::Reply Call(const cfm::agent::Request& request) {
    Send(request);
    return Receive();
  }
  int Fd() const { return socket_.Get(); }

 private:
  ipc::UniqueFd socket_;
};

}  // namespace test

#endif
