#include "operations.h"

#include <confd_lib.h>

#include <confd_cdb.h>
#include <signal.h>

#include <array>
#include <filesystem>
#include <memory>

#include "front_end.h"

namespace test {
namespace {

void Commit(Survivors& survivors) {
  survivors.CommitOtherLevel();
}

void ReadCounters(Survivors& survivors) {
  survivors.Get().Cfmctl({"clear-statistics"});
  // Cleared counters are not kept, so the daemon has to ask for them.
  survivors.Get().Cfmctl({"show", "statistics"});
}

void CommitCandidate(Survivors& survivors) {
  const Configured wanted = survivors.WithOtherLevel();
  const std::string level = std::to_string(wanted.level);
  Element& element = survivors.Get();
  element.Cfmctl({"set", "--candidate", "md{provider}/level", level});
  survivors.Note(wanted, element.Cfmctl({"commit"}).status);
}

void DiscardCandidate(Survivors& survivors) {
  Element& element = survivors.Get();
  element.Cfmctl({"set", "--candidate", "md{provider}/level", "0"});
  element.Cfmctl({"discard"});
}

cfm::agent::Request LockedSession() {
  cfm::agent::Request request;
  request.mutable_start_session()->set_database(CDB_RUNNING);
  request.mutable_start_session()->set_flags(CDB_LOCK_SESSION | CDB_LOCK_WAIT);
  return request;
}

void AwaitCommitInProgress(Element& element) {
  FrontEnd front_end(element.RuntimeDirectory());
  cfm::agent::Request watch;
  watch.mutable_watch_status();
  front_end.Send(watch);
  while (!front_end.Receive().status().commit_in_progress()) {
  }
}

// A round trip: the agent has seen what was sent before.
void PassTheLoop(Element& element) {
  cfm::agent::Request request;
  request.mutable_get_status();
  FrontEnd(element.RuntimeDirectory()).Call(request);
}

class CommitInBackground {
 public:
  explicit CommitInBackground(Survivors& survivors)
      : survivors_(survivors),
        wanted_(survivors.WithOtherLevel()),
        cfmctl_(survivors.Get().StartCfmctl(
            {"set", "md{provider}/level", std::to_string(wanted_.level)})) {}
  ~CommitInBackground() { survivors_.Note(wanted_, cfmctl_->AwaitExit().value_or(-1)); }

  CommitInBackground(const CommitInBackground&) = delete;
  CommitInBackground& operator=(const CommitInBackground&) = delete;

 private:
  Survivors& survivors_;
  Configured wanted_;
  std::unique_ptr<Process> cfmctl_;
};

void CommitDuringASession(Survivors& survivors) {
  Element& element = survivors.Get();
  auto session = std::make_unique<FrontEnd>(element.RuntimeDirectory(), cfm::agent::ROLE_CDB_DATA);
  session->Call(LockedSession());
  const CommitInBackground commit(survivors);
  AwaitCommitInProgress(element);
  session.reset();
}

class Frozen {
 public:
  explicit Frozen(Process& process) : process_(process) { process_.Freeze(); }
  ~Frozen() { process_.Signal(SIGCONT); }

  Frozen(const Frozen&) = delete;
  Frozen& operator=(const Frozen&) = delete;

 private:
  Process& process_;
};

void OpenASessionDuringACommit(Survivors& survivors) {
  Element& element = survivors.Get();
  FrontEnd session(element.RuntimeDirectory(), cfm::agent::ROLE_CDB_DATA);
  auto frozen = std::make_unique<Frozen>(element.Daemon());
  const CommitInBackground commit(survivors);
  AwaitCommitInProgress(element);
  session.Send(LockedSession());
  PassTheLoop(element);
  frozen.reset();
  session.Receive();
}

void ReplaceTheMep(Survivors& survivors) {
  survivors.CommitOtherMep();
}

void RestartTheManager(Survivors& survivors) {
  survivors.Get().KillManager();
  survivors.Get().StartManager().AwaitReady();
  survivors.Get().Verify();
}

void RestartTheAgent(Survivors& survivors) {
  Element& element = survivors.Get();
  element.KillAgent();
  element.StartAgent().AwaitReady();
  const auto status = element.StartCfmctl({"status", "--wait", "20", "--for", "daemon"});
  AwaitFirst({status.get(), &element.Daemon()});
}

void CommitWithoutTheDaemon(Survivors& survivors) {
  Element& element = survivors.Get();
  const std::filesystem::path elsewhere = element.Directory() / "elsewhere";
  std::filesystem::create_directory(elsewhere);
  element.KillAgent();
  element.StartAgent({"--runtime-dir", elsewhere}).AwaitReady();
  survivors.CommitOtherLevel({"--runtime-dir", elsewhere});
  element.Agent().Stop();
  element.StartAgent().AwaitReady();
  element.Daemon().AwaitExit();
}

constexpr std::array kForAgentd{
    Operation{"commit", Commit},
    Operation{"read counters", ReadCounters},
    Operation{"commit a candidate", CommitCandidate},
    Operation{"discard a candidate", DiscardCandidate},
    Operation{"commit during a session", CommitDuringASession},
    Operation{"open a session during a commit", OpenASessionDuringACommit},
    Operation{"replace the MEP", ReplaceTheMep},
};

constexpr std::array kForApp{
    Operation{"commit", Commit},
    Operation{"read counters", ReadCounters},
    Operation{"replace the MEP", ReplaceTheMep},
    Operation{"restart the manager", RestartTheManager},
    Operation{"restart the agent", RestartTheAgent},
    Operation{"commit without the daemon", CommitWithoutTheDaemon},
};

constexpr std::array kForManagerd{
    Operation{"commit", Commit},
    Operation{"read counters", ReadCounters},
    Operation{"restart the agent", RestartTheAgent},
    Operation{"replace the MEP", ReplaceTheMep},
    Operation{"restart the agent once more", RestartTheAgent},
};

}  // namespace

std::span<const Operation> OperationsFor(Survivors::Target target) {
  switch (target) {
    case Survivors::Target::kAgentd:
      return kForAgentd;
    case Survivors::Target::kApp:
      return kForApp;
    case Survivors::Target::kManagerd:
      break;
  }
  return kForManagerd;
}

}  // namespace test
