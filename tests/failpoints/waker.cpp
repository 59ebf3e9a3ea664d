#include "waker.h"

#include <signal.h>

#include <chrono>
#include <utility>

namespace test {

Waker::Waker(Process& process, std::function<void()> await_peers)
    : thread_([this, &process, await = std::move(await_peers)] {
        if (process.AwaitStop()) {
          await();
          kill(process.Pid(), SIGCONT);
          wake_.set_value();
        }
      }) {}

Waker::~Waker() {
  thread_.join();
}

bool Waker::HasWoken() const {
  return woken_.wait_for(std::chrono::seconds(0)) == std::future_status::ready;
}

bool Waker::AwaitWoken() const {
  return woken_.wait_for(kPatience) == std::future_status::ready;
}

}  // namespace test
