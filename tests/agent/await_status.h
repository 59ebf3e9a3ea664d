// Waiting for what agentd tells of its status.
#ifndef TESTS_AGENT_AWAIT_STATUS_H
#define TESTS_AGENT_AWAIT_STATUS_H

#include "running_agent.h"

namespace agentd::test {

// The first status that holds what is wanted, as the agent tells `watcher`, a
// front end, now and at each change. None for ::test::kPatience: throws.
template <typename Condition>
pb::Status AwaitStatus(Client watcher, Condition wanted) {
  pb::Request watch;
  watch.mutable_watch_status();
  pb::Status status = watcher.Call(watch).status();
  while (!wanted(status)) {
    status = watcher.Receive().status();
  }
  return status;
}

inline void AwaitCommitInProgress(Client watcher, bool in_progress = true) {
  AwaitStatus(std::move(watcher), [in_progress](const pb::Status& status) {
    return status.commit_in_progress() == in_progress;
  });
}

}  // namespace agentd::test

#endif
