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

bool IsLost(const agent::ProviderStatus& provider) {
  return provider.lost();
}

// Of the kind that is missed, who went last: the agent lists the lost in the
// order in which they went.
std::string LossIn(const agent::Status& status) {
  const auto& providers = status.providers();
  const auto lost = std::find_if(providers.rbegin(), providers.rend(), IsLost);
  if (lost != providers.rend() && std::ranges::all_of(providers, IsLost)) {
    return LossText(*lost);
  }
  const bool is_subscriber_missed =
      status.subscribers().empty() && !status.lost_subscribers().empty();
  return is_subscriber_missed ? LossText(*status.lost_subscribers().rbegin()) : "";
}

}  // namespace

std::string LossText(const agent::SubscriberStatus& lost) {
  return TextOfLoss(lost.name(), lost.pid(), lost.since());
}

std::string LossText(const agent::ProviderStatus& lost) {
  return TextOfLoss(lost.name(), lost.pid(), lost.since());
}

bool DaemonIsThere(const agent::Status& status) {
  return !status.subscribers().empty() && !std::ranges::all_of(status.providers(), IsLost);
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
  if (!is_there_) {
    loss_ = LossIn(status);
  }
}

bool DaemonWatch::IsThere() {
  const Deadline now = Deadline::After(std::chrono::milliseconds(0));
  while (const auto status = client_.NextStatus(now)) {
    Take(*status);
  }
  return is_there_;
}

}  // namespace cfmctl
