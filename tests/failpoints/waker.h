// Wakes a process that stands still (SIGSTOP by its own hand) as soon as a
// condition holds.
#ifndef TESTS_FAILPOINTS_WAKER_H
#define TESTS_FAILPOINTS_WAKER_H

#include <functional>
#include <future>
#include <thread>

#include "process.h"

namespace test {

class Waker {
 public:
  // `await_peers` returns when it is time to wake the process. It runs in a
  // thread of the waker's.
  Waker(Process& process, std::function<void()> await_peers);
  // Ends when the process has been woken, or has ended: one of the two has to
  // have come about.
  ~Waker();

  Waker(const Waker&) = delete;
  Waker& operator=(const Waker&) = delete;

  bool HasWoken() const;
  // Waits for it; false when patience ran out.
  bool AwaitWoken() const;

 private:
  std::promise<void> wake_;
  std::shared_future<void> woken_ = wake_.get_future().share();
  std::thread thread_;
};

}  // namespace test

#endif
