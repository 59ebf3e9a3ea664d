#include "element_watch.h"

#include <algorithm>
#include <system_error>

#include "poll_readable.h"

namespace cfmctl {
namespace {

constexpr std::chrono::milliseconds kNow{0};
constexpr std::chrono::milliseconds kRetry{500};

// Makes sure of the connection, then takes the newest content. A failure at
// any point is the reason of absence.
template <typename Client, typename Content>
void Update(Part<Client, Content>& part, auto&& connect, auto&& next,
            std::chrono::milliseconds timeout) {
  const bool was_connected = part.client.has_value();
  try {
    if (!was_connected) {
      part.client.emplace(connect());
      part.content = next(*part.client, Deadline::After(timeout));
    }
    while (std::optional<Content> newer = next(*part.client, Deadline::After(kNow))) {
      part.content = std::move(newer);
    }
    part.absence = part.content ? "" : "it did not answer";
  } catch (const Failure& failure) {
    part.client.reset();
    part.content.reset();
    part.absence = failure.what();
    if (was_connected) {  // a successor may have appeared already
      Update(part, connect, next, timeout);
    }
  }
}

// Its socket will not appear a second time: most likely one that a dead process
// left, but it may be that just this connection went wrong.
bool HasToTryAgain(const auto& part, const std::filesystem::path& socket) {
  std::error_code unknown;
  return !part.client && std::filesystem::exists(socket, unknown);
}

int FdOf(const auto& part) {
  return part.client ? part.client->Fd() : -1;
}

}  // namespace

ElementWatch::ElementWatch(std::filesystem::path agent_socket, std::filesystem::path manager_socket,
                           std::chrono::milliseconds timeout)
    : agent_socket_(std::move(agent_socket)),
      manager_socket_(std::move(manager_socket)),
      timeout_(timeout) {}

bool ElementWatch::AwaitChange(const Deadline& deadline) {
  if (!directory_) {
    directory_.emplace(agent_socket_.parent_path());
  } else if (PollReadable({directory_->Fd(), FdOf(agent_), FdOf(manager_)}, NextLook(deadline))) {
    directory_->Rearm();
  } else if (deadline.Passed()) {
    return false;
  }
  LookAtAgent();
  LookAtManager();
  return true;
}

Deadline ElementWatch::NextLook(const Deadline& deadline) const {
  if (HasToTryAgain(agent_, agent_socket_) || HasToTryAgain(manager_, manager_socket_)) {
    return Deadline::After(std::min(kRetry, std::chrono::milliseconds(deadline.PollTimeout())));
  }
  return deadline;
}

void ElementWatch::LookAtAgent() {
  Update(
      agent_,
      [this] {
        AgentClient client(agent_socket_, timeout_);
        client.WatchStatus();
        return client;
      },
      [](AgentClient& client, const Deadline& deadline) { return client.NextStatus(deadline); },
      timeout_);
}

void ElementWatch::LookAtManager() {
  Update(
      manager_, [this] { return ManagerObserver(manager_socket_, timeout_); },
      [](ManagerObserver& observer, const Deadline& deadline) { return observer.Next(deadline); },
      timeout_);
}

}  // namespace cfmctl
