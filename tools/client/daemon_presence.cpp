#include "daemon_presence.h"

#include <algorithm>

namespace cfmctl {

namespace agent = cfm::agent;

bool DaemonIsThere(const agent::Status& status) {
  return !status.subscribers().empty() &&
         std::ranges::any_of(status.providers(), [](const agent::ProviderStatus& provider) {
           return !provider.lost();
         });
}

DaemonWatch::DaemonWatch(AgentClient client, const Deadline& deadline)
    : client_(std::move(client)) {
  client_.WatchStatus();
  const auto status = client_.NextStatus(deadline);
  if (!status) {
    throw Failure(ExitStatus::kTimedOut, "the agent did not tell its status");
  }
  is_there_ = DaemonIsThere(*status);
}

bool DaemonWatch::IsThere() {
  const Deadline now = Deadline::After(std::chrono::milliseconds(0));
  while (const auto status = client_.NextStatus(now)) {
    is_there_ = DaemonIsThere(*status);
  }
  return is_there_;
}

}  // namespace cfmctl
