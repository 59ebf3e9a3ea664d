#include "status_watch.h"

#include <algorithm>
#include <utility>

#include "core/status_model.h"
#include "error_lines.h"
#include "tree_codec.h"

namespace cfmctl {

StatusWatch::StatusWatch(AgentClient client, const Deadline& deadline)
    : client_(std::move(client)) {
  client_.WatchOperational(std::string(kStatusPath));
  const auto first = client_.NextReply(deadline);
  if (!first) {
    throw Failure(ExitStatus::kTimedOut, "the agent did not tell the status");
  }
  if (!first->errors().empty()) {
    throw Failure(ExitStatus::kRefused, "the status cannot be watched", ErrorLines(*first));
  }
  Apply(*first);
}

std::optional<StatusNews> StatusWatch::Next(const Deadline& deadline) {
  const auto reply = client_.NextReply(deadline);
  if (!reply) {
    return std::nullopt;
  }
  if (!reply->errors().empty()) {
    throw Failure(ExitStatus::kUnreachable, "the agent has ended the watch", ErrorLines(*reply));
  }
  return Apply(*reply);
}

std::vector<std::string> StatusWatch::TakeWarnings() {
  return std::exchange(warnings_, {});
}

StatusNews StatusWatch::Apply(const cfm::agent::Reply& reply) {
  warnings_.insert(warnings_.end(), reply.warnings().begin(), reply.warnings().end());
  StatusNews news;
  for (const cfm::agent::OperationalChange& change : reply.operational()) {
    const auto entry = change.has_entry() ? std::optional(ToTree(change.entry())) : std::nullopt;
    std::ranges::move(board_.Apply(change.path(), entry), std::back_inserter(news.changes));
    news.paths.push_back(change.path());
  }
  return news;
}

}  // namespace cfmctl
