#include "writer_hold.h"

#include <utility>

#include "fail_point.h"
#include "log.h"

namespace agentd {

void WriterHold::Take(Owner owner, std::string name, pid_t pid) {
  holder_ = owner;
  name_ = std::move(name);
  pid_ = pid;
  Watch();
}

void WriterHold::Wait(Owner owner, std::function<void()> resume) {
  waiting_.push_back({owner, std::move(resume)});
  Watch();
}

void WriterHold::Release(Owner owner) {
  waiting_.remove_if([owner](const Waiting& each) { return each.owner == owner; });
  if (holder_ == owner) {
    holder_ = nullptr;
    soon_.Set(std::chrono::microseconds(0));
  }
  Watch();
}

// A hold passes from one to the next only when nobody has it in between, so who
// is watched is always the holder. The connection of one that is given up ends,
// and with it the hold.
void WriterHold::Watch() {
  const bool is_awaited = holder_ != nullptr && !waiting_.empty();
  if (std::exchange(watching_, is_awaited) == is_awaited) {
    return;
  }
  if (!is_awaited) {
    return heartbeat_.Release(this);
  }
  heartbeat_.Await(this, pid_, [this](const std::string& why) {
    AGENT_LOG_WARNING("writers wait no longer for %s: it %s", name_.c_str(), why.c_str());
    CFM_FAIL_POINT(agent_writers_given_up);
  });
}

// Whoever resumes may take the hold again: the others go on waiting.
void WriterHold::Resume() {
  while (holder_ == nullptr && !waiting_.empty()) {
    const auto resume = std::move(waiting_.front().resume);
    waiting_.pop_front();
    resume();
  }
}

}  // namespace agentd
