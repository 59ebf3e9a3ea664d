#include "writer_hold.h"

#include <utility>

namespace agentd {

void WriterHold::Release(Owner owner) {
  waiting_.erase(owner);
  if (holder_ == owner) {
    holder_ = nullptr;
    soon_.Set(std::chrono::microseconds(0));
  }
}

// Whoever resumes may take the hold again: the others go on waiting.
void WriterHold::Resume() {
  while (holder_ == nullptr && !waiting_.empty()) {
    const auto next = waiting_.extract(waiting_.begin());
    next.mapped()();
  }
}

}  // namespace agentd
