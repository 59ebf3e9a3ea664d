#include "operations.h"

#include <array>
#include <filesystem>
#include <memory>

#include "circumstances.h"
#include "program_requests.h"

namespace test {
namespace {

using Target = Survivors::Target;

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

void CommitDuringASession(Survivors& survivors) {
  Element& element = survivors.Get();
  auto session = std::make_unique<FrontEnd>(element.RuntimeDirectory(), cfm::agent::ROLE_CDB_DATA);
  session->Call(LockedSession());
  CommitInBackground commit(survivors);
  commit.AwaitProgress();
  session.reset();
}

void OpenASessionDuringACommit(Survivors& survivors) {
  Element& element = survivors.Get();
  FrontEnd session(element.RuntimeDirectory(), cfm::agent::ROLE_CDB_DATA);
  auto frozen = std::make_unique<Frozen>(survivors, Target::kApp);
  CommitInBackground commit(survivors);
  commit.AwaitProgress();
  session.Send(LockedSession());
  PassTheLoop(element);
  frozen.reset();
  session.Receive();
}

void ReplaceTheMep(Survivors& survivors) {
  survivors.CommitOtherMep();
}

void CommitAMistake(Survivors& survivors) {
  survivors.Get().Cfmctl({"set", "md{provider}/level", "8"});
}

// The session keeps what it reads while the next configuration is published.
void CommitWhileASessionReads(Survivors& survivors) {
  FrontEnd session(survivors.Get().RuntimeDirectory(), cfm::agent::ROLE_CDB_DATA);
  session.Send(ReadingSession());
  session.Call(AskForTxid());
  survivors.CommitOtherLevel();
}

void ReadDuringACommit(Survivors& survivors) {
  Element& element = survivors.Get();
  FrontEnd reader(element.RuntimeDirectory());
  auto frozen = std::make_unique<Frozen>(survivors, Target::kApp);
  reader.Send(ReadAll());
  PassTheLoop(element);
  CommitInBackground commit(survivors);
  commit.AwaitProgress();
  frozen.reset();
  reader.Receive();
}

void WriteWhileAnotherHoldsWritersOff(Survivors& survivors) {
  constexpr std::int64_t kFirst = -1;
  constexpr std::int64_t kSecond = -2;
  Element& element = survivors.Get();
  FrontEnd holder(element.RuntimeDirectory(), cfm::agent::ROLE_CDB_DATA);
  FrontEnd other(element.RuntimeDirectory(), cfm::agent::ROLE_CDB_DATA);
  holder.Send(OperationalSession());
  other.Send(OperationalSession());
  holder.Call(CreateEntry(kFirst));
  // Behind the one of the MEP.
  holder.Call(DeleteAndHold(1));
  other.Send(CreateEntry(kSecond));
  PassTheLoop(element);
  holder.Send(EndOfSession());
  other.Receive();
  other.Call(DeleteEntry(kSecond));
}

void RestartTheManager(Survivors& survivors) {
  survivors.Kill(Target::kManagerd);
  survivors.Get().StartManager();
  survivors.Await({"verify", "--wait", "20"});
}

void RestartTheDaemon(Survivors& survivors) {
  survivors.Kill(Target::kApp);
  survivors.Get().StartDaemon();
  survivors.Await({"status", "--wait", "20"});
}

// The daemon, which has begun to answer the read, finds the manager gone before
// it looks for the next question, and takes the entry away that it is about. It
// may be that the question is there first, hence once more.
void LoseTheManagerDuringARead(Survivors& survivors) {
  Element& element = survivors.Get();
  for (int i = 0; i < 2; ++i) {
    FrontEnd reader(element.RuntimeDirectory());
    auto frozen = std::make_unique<Frozen>(survivors, Target::kApp);
    {
      const ManagerAway away(survivors);
      reader.Send(ReadAll());
      PassTheLoop(element);
      frozen.reset();
      reader.Receive();
    }
    survivors.Await({"verify", "--wait", "20"});
  }
}

// Counters that are cleared while a read waits for them, and then the manager
// goes.
void ClearWhileAReadWaits(Survivors& survivors) {
  Element& element = survivors.Get();
  FrontEnd reader(element.RuntimeDirectory());
  element.Cfmctl({"clear-statistics"});
  auto frozen = std::make_unique<Frozen>(survivors, Target::kManagerd);
  reader.Send(ReadAll());
  PassTheLoop(element);
  element.Cfmctl({"clear-statistics"});
  const ManagerAway away(survivors);
  frozen.reset();
  reader.Receive();
}

void RestartTheAgent(Survivors& survivors) {
  survivors.Kill(Target::kAgentd);
  survivors.Start(Target::kAgentd);
  survivors.Await({"status", "--wait", "20", "--for", "daemon"});
}

void CommitWithoutTheDaemon(Survivors& survivors) {
  Element& element = survivors.Get();
  const std::filesystem::path elsewhere = element.Directory() / "elsewhere";
  std::filesystem::create_directory(elsewhere);
  survivors.Kill(Target::kAgentd);
  element.StartAgent({"--runtime-dir", elsewhere}).AwaitReady();
  survivors.CommitOtherLevel({"--runtime-dir", elsewhere});
  survivors.End(Target::kAgentd);
  survivors.Start(Target::kAgentd).AwaitReady();
  element.Daemon().AwaitExit();
}

// The agent waits for the daemon until it is given up.
void CommitUntilTheDaemonIsGivenUp(Survivors& survivors) {
  const Frozen frozen(survivors, Target::kApp);
  survivors.CommitOtherLevel();
}

void ReadUntilTheDaemonIsGivenUp(Survivors& survivors) {
  const Frozen frozen(survivors, Target::kApp);
  survivors.Get().Cfmctl({"show", "status"});
}

// The daemon has its answer when the agent does not wait any more.
void ReadUntilTheCountersAreGivenUp(Survivors& survivors) {
  Element& element = survivors.Get();
  element.Cfmctl({"clear-statistics"});
  const Frozen frozen(survivors, Target::kManagerd);
  element.Cfmctl({"show", "statistics"});
}

// Its program, which is this one, stands still while it waits for the commit.
void CommitUntilTheSessionIsGivenUp(Survivors& survivors) {
  FrontEnd session(survivors.Get().RuntimeDirectory(), cfm::agent::ROLE_CDB_DATA);
  session.Call(LockedSession());
  survivors.CommitOtherLevel();
}

// The same; who waits is the daemon, which puts the record of the new MEP in the
// place of the old one.
void HoldWritersOffUntilThatIsGivenUp(Survivors& survivors) {
  FrontEnd holder(survivors.Get().RuntimeDirectory(), cfm::agent::ROLE_CDB_DATA);
  holder.Send(OperationalSession());
  holder.Call(CreateEntry(-1));
  // Behind the one of the MEP.
  holder.Call(DeleteAndHold(1));
  survivors.CommitOtherMep();
  holder.Receive();  // which ends with the connection
}

constexpr bool kLong = true;

constexpr std::array kForAgentd{
    Operation{"commit", Commit},
    Operation{"commit a mistake", CommitAMistake},
    Operation{"read counters", ReadCounters},
    Operation{"commit a candidate", CommitCandidate},
    Operation{"discard a candidate", DiscardCandidate},
    Operation{"commit during a session", CommitDuringASession},
    Operation{"open a session during a commit", OpenASessionDuringACommit},
    Operation{"commit while a session reads", CommitWhileASessionReads},
    Operation{"read during a commit", ReadDuringACommit},
    Operation{"replace the MEP", ReplaceTheMep},
    Operation{"write while another holds writers off", WriteWhileAnotherHoldsWritersOff},
    Operation{"restart the daemon", RestartTheDaemon},
    Operation{"lose the manager during a read", LoseTheManagerDuringARead, kLong},
    Operation{"read until the counters are given up", ReadUntilTheCountersAreGivenUp, kLong},
    Operation{"read until the daemon is given up", ReadUntilTheDaemonIsGivenUp, kLong},
    Operation{"commit until the daemon is given up", CommitUntilTheDaemonIsGivenUp, kLong},
    Operation{"commit until the session is given up", CommitUntilTheSessionIsGivenUp, kLong},
    Operation{"hold writers off until that is given up", HoldWritersOffUntilThatIsGivenUp, kLong},
};

constexpr std::array kForApp{
    Operation{"commit", Commit},
    Operation{"read counters", ReadCounters},
    Operation{"replace the MEP", ReplaceTheMep},
    Operation{"restart the manager", RestartTheManager},
    Operation{"restart the agent", RestartTheAgent},
    Operation{"lose the manager during a read", LoseTheManagerDuringARead, kLong},
    Operation{"clear while a read waits", ClearWhileAReadWaits, kLong},
    Operation{"read until the counters are given up", ReadUntilTheCountersAreGivenUp, kLong},
    Operation{"commit without the daemon", CommitWithoutTheDaemon},
};

constexpr std::array kForManagerd{
    Operation{"commit", Commit},
    Operation{"read counters", ReadCounters},
    Operation{"restart the agent", RestartTheAgent},
    Operation{"replace the MEP", ReplaceTheMep},
    Operation{"restart the agent once more", RestartTheAgent},
    Operation{"restart the daemon", RestartTheDaemon},
};

}  // namespace

std::span<const Operation> OperationsFor(Survivors::Target target) {
  switch (target) {
    case Target::kAgentd:
      return kForAgentd;
    case Target::kApp:
      return kForApp;
    case Target::kManagerd:
      break;
  }
  return kForManagerd;
}

}  // namespace test
