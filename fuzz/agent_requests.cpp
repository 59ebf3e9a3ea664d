// What anybody may send to the agent: a whole agent with a listening socket,
// one connection per input, with a data session, a subscriber or a front end
// behind it as the input says.
#include <poll.h>
#include <stdlib.h>
#include <sys/socket.h>
#include <systemd/sd-event.h>

#include <filesystem>

#include "agent.h"
#include "connect.h"
#include "input.h"

namespace {

// The agent that all inputs meet, in a directory in memory.
class Target {
 public:
  Target() {
    char name[] = "/dev/shm/cfm-fuzz-XXXXXX";
    directory_ = mkdtemp(name);
    atexit([] { std::filesystem::remove_all(directory_); });
    for (const char* part : {"run", "state"}) {
      std::filesystem::create_directory(directory_ / part);
    }
    sd_event_new(&loop_);
    agentd::Options options;
    options.runtime_dir = directory_ / "run";
    options.state_dir = directory_ / "state";
    options.yang_dir = CFM_MODEL_DIR;
    options.subscriber_timeout = std::chrono::milliseconds(1);
    agent_ = std::make_unique<agentd::Agent>(loop_, options);
  }

  // Sends the bytes and runs the agent until it has closed the connection,
  // which it has to.
  void Feed(std::string_view bytes) {
    const ipc::UniqueFd socket = ipc::ConnectUnix(directory_ / "run" / "agentd.sock");
    if (send(socket.Get(), bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT) < 0 &&
        !bytes.empty()) {
      return;
    }
    shutdown(socket.Get(), SHUT_WR);
    char buffer[65536];
    ssize_t received;
    do {
      sd_event_run(loop_, 0);
      received = recv(socket.Get(), buffer, sizeof buffer, MSG_DONTWAIT);
    } while (received > 0 || (received < 0 && errno == EAGAIN));
  }

 private:
  static inline std::filesystem::path directory_;
  sd_event* loop_ = nullptr;
  std::unique_ptr<agentd::Agent> agent_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static auto& target = *new Target;
  target.Feed(fuzz::Input(data, size).Rest());
  return 0;
}
