#include "waker.h"

#include <signal.h>

#include <chrono>
#include <utility>

namespace test {

Waker::Waker(Survivors& survivors, Survivors::Target target, std::string fail_point,
             std::function<void()> await_peers)
    : thread_([this, &survivors, target, fail_point = std::move(fail_point),
               await_peers = std::move(await_peers)] {
        Run(survivors, target, fail_point, await_peers);
      }) {}

// An operation may have it stand still, too, and wakes it itself.
void Waker::Run(Survivors& survivors, Survivors::Target target, const std::string& fail_point,
                const std::function<void()>& await_peers) {
  const Process& process = survivors.Of(target);
  while (process.AwaitStop()) {
    const std::lock_guard lock(survivors.StopsOf(target));
    if (survivors.HasFailed(fail_point)) {
      await_peers();
      kill(process.Pid(), SIGCONT);
      wake_.set_value();
      return;
    }
  }
}

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
