#include "daemon_presence.h"

#include <fmt/format.h>

#include <algorithm>

#include "core/calendar.h"

namespace cfmctl {

namespace agent = cfm::agent;

namespace {

std::string TextOfLoss(const std::string& name, std::int64_t pid, std::int64_t since) {
  return fmt::format("{} (process {}) is gone{}", name, pid,
                     since > 0 ? " since " + CalendarText(since) : "");
}

std::string LossIn(const agent::Status& status) {
  for (const agent::ProviderStatus& provider : status.providers()) {
    if (provider.lost()) {
      return LossText(provider);
    }
  }
  return status.lost_subscribers().empty() ? "" : LossText(status.lost_subscribers(0));
}

}  // namespace

std::string LossText(const agent::SubscriberStatus& lost) {
  return TextOfLoss(lost.name(), lost.pid(), lost.since());
}

std::string LossText(const agent::ProviderStatus& lost) {
  return TextOfLoss(lost.name(), lost.pid(), lost.since());
}

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
  Take(*status);
}

void DaemonWatch::Take(const agent::Status& status) {
  is_there_ = DaemonIsThere(status);
  loss_ = LossIn(status);
}

bool DaemonWatch::IsThere() {
  const Deadline now = Deadline::After(std::chrono::milliseconds(0));
  while (const auto status = client_.NextStatus(now)) {
    Take(*status);
  }
  return is_there_;
}

}  // namespace cfmctl
