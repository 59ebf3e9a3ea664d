#include "measured_element.h"

#include <stdexcept>

#include "await.h"
#include "record_watch.h"
#include "requests.h"

namespace bench {

// The daemon is the last to start, so the first configuration that the
// observer is told of is its empty one.
MeasuredElement::MeasuredElement() {
  element_.StartAgent();
  element_.StartManager();
  if (!element_.Agent().AwaitReady() || !element_.Manager().AwaitReady()) {
    throw std::runtime_error("a daemon did not become ready: " + element_.Agent().Log() +
                             element_.Manager().Log());
  }
  operator_ = std::make_unique<AgentLine>(loop_, element_.RuntimeDirectory());
  observer_ = std::make_unique<AppliedObserver>(loop_, element_.RuntimeDirectory());
  element_.StartDaemon();
  Await(
      loop_, [this] { return observer_->Count() == 1; }, "cfm-app's first configuration");
}

CommitTimes MeasuredElement::Commit(const cfm::agent::Request& commit) {
  const int applied = observer_->Count() + 1;
  const Clock::time_point start = Clock::now();
  operator_->Send(commit);
  Await(
      loop_, [&] { return operator_->HasReply() && observer_->Count() >= applied; },
      "a commit to be applied and answered");
  return {.applied = SecondsBetween(start, observer_->Time()),
          .returned = SecondsBetween(start, operator_->TakeReply())};
}

double MeasuredElement::Time(const cfm::agent::Request& request) {
  const Clock::time_point start = Clock::now();
  operator_->Send(request);
  Await(
      loop_, [&] { return operator_->HasReply(); }, "the agent's reply");
  return SecondsBetween(start, operator_->TakeReply());
}

void MeasuredElement::Settle(int records) {
  RecordWatch watch(loop_, element_.RuntimeDirectory());
  watch.AwaitCount(records);
  local_record_ = watch.AnyPath("local");
  operator_->Call(ClearStatistics());
  operator_->Call(ReadStatus(local_record_ + "/mep-ccms-sent"));
}

double MeasuredElement::RestartDaemon() {
  if (element_.Daemon().Stop() != 0) {
    throw std::runtime_error("cfm-app did not end in order: " + element_.Daemon().Log());
  }
  const int applied = observer_->Count() + 1;
  const Clock::time_point start = Clock::now();
  element_.StartDaemon();
  Await(
      loop_, [&] { return observer_->Count() >= applied; },
      "the configuration of cfm-app after its restart");
  return SecondsBetween(start, observer_->Time());
}

std::array<std::pair<std::string, pid_t>, 3> MeasuredElement::Daemons() {
  return {{{"agentd", element_.Agent().Pid()},
           {"cfm-app", element_.Daemon().Pid()},
           {"cfm-managerd", element_.Manager().Pid()}}};
}

}  // namespace bench
