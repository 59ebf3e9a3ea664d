#include "agent.h"

#include "utf8.h"

namespace agentd {

Agent::Agent(sd_event* loop, const Options& options)
    : model_(options.yang_dir),
      locks_of_directories_(options.runtime_dir, options.state_dir),
      store_(options.state_dir / "running.db"),
      datastore_(model_, store_),
      candidate_(model_, datastore_),
      heartbeat_(loop, options.heartbeat,
                 {ReadPulse, [this](pid_t pid) { return server_.KeepsWaiting(pid); },
                  [this](pid_t pid) { providers_.Ping(pid); },
                  [this](pid_t pid, const std::string& why) {
                    subscriptions_.FallBehind(pid);
                    server_.Lose(pid, why);
                  }}),
      locks_(heartbeat_),
      announcement_(loop, model_, subscriptions_, heartbeat_, options.subscriber_timeout),
      commits_(loop, datastore_, locks_, announcement_, options.subscriber_timeout),
      provider_model_(model_),
      operational_(model_, provider_model_),
      writers_(loop, heartbeat_),
      watch_(loop, operational_),
      providers_(
          loop, provider_model_,
          {locks_, heartbeat_, options.provider_timeout, [this] { return commits_.IsBusy(); }}),
      status_([this] { return ReadStatus(); }),
      ending_(loop, options.end_timeout, StepsOfEnding()),
      server_(loop, {options.runtime_dir / "agentd.sock", options.view_group, options.port},
              {model_, datastore_, candidate_, locks_, subscriptions_, announcement_, commits_,
               heartbeat_, status_, provider_model_, operational_, writers_, watch_, providers_,
               ending_}) {
  providers_.OnChange([this] { status_.Changed(); });
  commits_.OnProgress([this] {
    status_.Changed();
    providers_.Resume();
  });
}

cfm::agent::Status Agent::ReadStatus() const {
  cfm::agent::Status status;
  status.set_txid(Txid());
  status.set_commit_in_progress(commits_.IsBusy());
  status.set_candidate_open(candidate_.IsOpen());
  status.set_database(WellFormed(store_.File().native()));
  subscriptions_.Describe(status);
  providers_.Describe(status);
  server_.AddTo(status);
  return status;
}

std::string Agent::Unfinished() const {
  std::string all;
  for (const std::string& each :
       {server_.Unfinished(), providers_.Unfinished(), commits_.Unfinished()}) {
    all += (all.empty() || each.empty() ? "" : ", ") + each;
  }
  return all;
}

Ending::Steps Agent::StepsOfEnding() {
  return {.refuse_waiting = [this] { commits_.RefuseWaiting(); },
          .cut_short = [this] { providers_.Cease("agentd is ending"); },
          .give_up =
              [this] {
                commits_.GiveUp();
                server_.GiveUp();
              },
          .unfinished = [this] { return Unfinished(); }};
}

}  // namespace agentd
