#include "impostor.h"

#include <fmt/format.h>
#include <poll.h>
#include <signal.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <system_error>
#include <vector>

#include "failure.h"
#include "garbage.h"
#include "unix_address.h"

namespace survival {
namespace {

bool HasInput(int socket) {
  pollfd event{socket, POLLIN, 0};
  return poll(&event, 1, 0) == 1;
}

// Takes what has come before the end.
bool IsClosed(int socket) {
  char buffer[4096];
  ssize_t size;
  do {
    size = recv(socket, buffer, sizeof buffer, 0);
  } while (size > 0);
  return size == 0 || errno != EAGAIN;
}

class Impostor {
 public:
  explicit Impostor(std::filesystem::path path)
      : path_(std::move(path)), socket_(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    // Comes into being when it listens, so that whoever waits for it can
    // connect.
    const std::filesystem::path begun = path_.string() + ".impostor";
    const ipc::UnixAddress address(begun);
    if (bind(socket_.Get(), address.Get(), address.Size()) != 0 || listen(socket_.Get(), 8) != 0) {
      throw std::system_error(errno, std::generic_category(), "listen at " + begun.string());
    }
    std::filesystem::rename(begun, path_);
  }
  ~Impostor() {
    std::error_code ignored;
    std::filesystem::remove(path_, ignored);
  }
  Impostor(const Impostor&) = delete;
  Impostor& operator=(const Impostor&) = delete;

  // Sends that to whoever connects, until a connection was closed by its peer,
  // whose log that is.
  void Answer(Supervisor& supervisor, const std::string& bytes,
              const std::filesystem::path& log) const {
    std::vector<ipc::UniqueFd> taken;
    std::vector<int> descriptors = {socket_.Get()};
    const auto is_over = [&] {
      while (HasInput(socket_.Get())) {
        taken.emplace_back(accept4(socket_.Get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
        SendBytes(taken.back().Get(), bytes);
        descriptors.push_back(taken.back().Get());
      }
      return std::ranges::any_of(taken,
                                 [](const ipc::UniqueFd& each) { return IsClosed(each.Get()); });
    };
    if (!supervisor.Await(descriptors, is_over, Clock::now() + test::kPatience)) {
      throw Failure("cfm-app takes garbage at " + path_.string(), log);
    }
  }

 private:
  std::filesystem::path path_;
  ipc::UniqueFd socket_;
};

}  // namespace

Outcome SendToDaemon(Context& context, Part part) {
  const auto all = AllGarbage(context.chance);
  const Garbage& garbage = context.chance.Pick(all);
  // An empty frame is a welcome.
  const bool is_welcome = context.chance.OneIn(2);
  context.Say(fmt::format("{}{} to cfm-app in the place of {}", is_welcome ? "a welcome and " : "",
                          garbage.name, NameOf(part)));
  context.supervisor.End(context.node, part, SIGTERM, true);
  {
    const Impostor impostor(context.node.SocketOf(part));
    impostor.Answer(context.supervisor, (is_welcome ? Frame(0, "") : "") + garbage.bytes,
                    context.node.LogOf(Part::kDaemon));
  }
  context.supervisor.Release(context.node, part);
  return {.fault = "garbage to cfm-app", .over = Clock::now()};
}

}  // namespace survival
