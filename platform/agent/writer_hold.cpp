#include "writer_hold.h"

#include <utility>

namespace agentd {

void WriterHold::Release(Owner owner) {
  waiting_.remove_if([owner](const Waiting& each) { return each.owner == owner; });
  if (holder_ == owner) {
    holder_ = nullptr;
    soon_.Set(std::chrono::microseconds(0));
  }
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
