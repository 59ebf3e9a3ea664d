// Wakes a process that stands still at its fail point (SIGSTOP by its own hand)
// as soon as a condition holds.
#ifndef TESTS_FAILPOINTS_WAKER_H
#define TESTS_FAILPOINTS_WAKER_H

#include <functional>
#include <future>
#include <thread>

#include "survivors.h"

namespace test {

class Waker {
 public:
  // `await_peers` returns when it is time to wake the process, which was
  // launched with `fail_point` and stands still there. It runs in a thread of
  // the waker's.
  Waker(Survivors& survivors, Survivors::Target target, std::string fail_point,
        std::function<void()> await_peers);
  // Ends when the process has been woken, or has ended: one of the two has to
  // have come about.
  ~Waker();

  Waker(const Waker&) = delete;
  Waker& operator=(const Waker&) = delete;

  bool HasWoken() const;
  // Waits for it; false when patience ran out.
  bool AwaitWoken() const;

 private:
  void Run(Survivors& survivors, Survivors::Target target, const std::string& fail_point,
           const std::function<void()>& await_peers);

  std::promise<void> wake_;
  std::shared_future<void> woken_ = wake_.get_future().share();
  std::thread thread_;
};

}  // namespace test

#endif
