#include "element_watch.h"

#include "poll_readable.h"

namespace cfmctl {
namespace {

constexpr std::chrono::milliseconds kNow{0};

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
  } else if (PollReadable({directory_->Fd(), FdOf(agent_), FdOf(manager_)}, deadline)) {
    directory_->Rearm();
  } else {
    return false;
  }
  LookAtAgent();
  LookAtManager();
  return true;
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
