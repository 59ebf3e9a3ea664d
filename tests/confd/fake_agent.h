// An agent that follows a script: a real listening socket, served by a thread
// of the test.
#ifndef TESTS_CONFD_FAKE_AGENT_H
#define TESTS_CONFD_FAKE_AGENT_H

#include <agent.pb.h>
#include <sys/socket.h>

#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "temporary_directory.h"
#include "unique_fd.h"

namespace test {

class FakeAgent {
 public:
  // Serves one connection; the socket is closed when it returns. What it
  // throws ends the connection and is kept for Error.
  using Script = std::function<void(int fd)>;

  // Serves connections one after the other, each with the next script; the
  // last serves all that follow.
  explicit FakeAgent(std::vector<Script> scripts, int family = AF_UNIX);
  // Ends what is still served.
  ~FakeAgent();

  FakeAgent(const FakeAgent&) = delete;
  FakeAgent& operator=(const FakeAgent&) = delete;

  const sockaddr* Address() const { return reinterpret_cast<const sockaddr*>(&address_); }
  int AddressSize() const { return static_cast<int>(address_size_); }
  // A new socket of the agent's family.
  int NewSocket() const;
  // Ends what is served and returns what a script threw, or an empty text.
  std::string Finish();

 private:
  void Run();
  void Serve(ipc::UniqueFd fd, const Script& script);

  TemporaryDirectory directory_;
  sockaddr_storage address_{};
  socklen_t address_size_ = 0;
  ipc::UniqueFd listener_;
  std::vector<Script> scripts_;
  std::mutex mutex_;
  int serving_ = -1;  // under mutex_
  bool stopping_ = false;
  std::string error_;
  std::thread thread_;
};

// Steps of a script. They throw when the client does something else.

// Takes the greeting, expects `role`, welcomes with these names.
void Welcome(int fd, cfm::agent::Role role,
             const std::vector<std::pair<std::uint32_t, std::string>>& names = {});
// The next request, or nothing when the client has closed.
std::optional<cfm::agent::Request> TakeRequest(int fd);
void Answer(int fd, const cfm::agent::Reply& reply);
void Notify(int fd, const cfm::agent::Notification& notification);
void SendRaw(int fd, const std::string& bytes);
// Waits until the client closes; a request before that is an error.
void AwaitClose(int fd);

}  // namespace test

#endif
