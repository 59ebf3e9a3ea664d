#include "circumstances.h"

#include <poll.h>
#include <signal.h>

#include <stdexcept>

#include "front_end.h"

namespace test {

using cfm::agent::Request;

void PassTheLoop(Element& element) {
  Request request;
  request.mutable_get_status();
  FrontEnd(element.RuntimeDirectory()).Call(request);
}

CommitInBackground::CommitInBackground(Survivors& survivors)
    : survivors_(survivors),
      wanted_(survivors.WithOtherLevel()),
      cfmctl_(survivors.Get().StartCfmctl(
          {"set", "md{provider}/level", std::to_string(wanted_.level)})) {}

void CommitInBackground::AwaitProgress() {
  FrontEnd front_end(survivors_.Get().RuntimeDirectory());
  Request watch;
  watch.mutable_watch_status();
  front_end.Send(watch);
  while (!front_end.Receive().status().commit_in_progress()) {
    pollfd events[] = {{front_end.Fd(), POLLIN, 0}, {cfmctl_->EndFd(), POLLIN, 0}};
    if (poll(events, 2, -1) < 0 || events[1].revents != 0) {
      throw std::runtime_error("the commit is over");
    }
  }
}

CommitInBackground::~CommitInBackground() {
  survivors_.Note(wanted_, cfmctl_->AwaitExit().value_or(-1));
}

Frozen::Frozen(Survivors& survivors, Survivors::Target target)
    : lock_(survivors.StopsOf(target)), process_(survivors.Of(target)) {
  process_.Freeze();
}

Frozen::~Frozen() {
  process_.Signal(SIGCONT);
}

}  // namespace test
