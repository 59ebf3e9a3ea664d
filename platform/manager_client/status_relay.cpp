#include "status_relay.h"

#include <fmt/format.h>

#include <utility>

#include "frame.h"

namespace cfm {

void StatusRelay::AgentWentAway() {
  agent_is_here_ = false;
  waiting_.clear();
}

std::uint64_t StatusRelay::AgentCameBack() {
  agent_is_here_ = true;
  waiting_.clear();
  awaited_ = ++last_resend_;
  return last_resend_;
}

void StatusRelay::ManagerFound() {
  awaited_.reset();
}

void StatusRelay::ManagerLost() {
  awaited_.reset();
  waiting_.clear();
}

void StatusRelay::ResendStarts(std::uint64_t number) {
  if (number > last_resend_) {
    throw ipc::ProtocolError(fmt::format("resend {} starts, which was never asked for", number));
  }
  if (awaited_ == number) {
    awaited_.reset();
  }
}

void StatusRelay::Take(Delivery delivery, bool is_removal) {
  if (!Passes()) {
    return;
  }
  if (waiting_.size() >= kMostWaiting) {
    throw ipc::ProtocolError(
        fmt::format("statistics request {} is not answered, and {} notifications wait for that",
                    requests_.Completed() + 1, waiting_.size()));
  }
  waiting_.push_back({std::move(delivery), is_removal, requests_.Last()});
  Proceed();
}

void StatusRelay::Proceed() {
  while (!waiting_.empty()) {
    if (waiting_.front().is_removal && requests_.AnyOpen()) {
      if (requests_.Completed() < waiting_.front().last_request) {
        return;
      }
      requests_.CompleteNow();
    }
    const Waiting next = std::move(waiting_.front());
    waiting_.pop_front();
    next.deliver();
  }
}

}  // namespace cfm
