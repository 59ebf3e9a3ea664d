#include "circumstances.h"

#include <signal.h>

#include "front_end.h"

namespace test {

using cfm::agent::Request;

void AwaitCommitInProgress(Element& element) {
  FrontEnd front_end(element.RuntimeDirectory());
  Request watch;
  watch.mutable_watch_status();
  front_end.Send(watch);
  while (!front_end.Receive().status().commit_in_progress()) {
  }
}

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

CommitInBackground::~CommitInBackground() {
  survivors_.Note(wanted_, cfmctl_->AwaitExit().value_or(-1));
}

Frozen::~Frozen() {
  process_.Signal(SIGCONT);
}

}  // namespace test
