// Waiting for an event, and giving up with a reason.
#ifndef BENCH_AWAIT_H
#define BENCH_AWAIT_H

#include <stdexcept>
#include <string>

#include "loop.h"

namespace bench {

// Dispatches until `happened`. Throws when nothing more comes for half a
// minute; `what` completes "waited in vain for".
template <typename Condition>
void Await(Loop& loop, Condition happened, const std::string& what) {
  if (!loop.RunUntil(happened)) {
    throw std::runtime_error("waited in vain for " + what);
  }
}

}  // namespace bench

#endif
