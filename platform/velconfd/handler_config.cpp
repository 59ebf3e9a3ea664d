#include "handler_config.h"

#include <string>
#include <utility>

#include "agent_error.h"
#include "fail_point.h"
#include "gather.h"
#include "log.h"

namespace velconfd {
namespace {

bool Same(const cdb_txid& a, const cdb_txid& b) {
  return a.s1 == b.s1 && a.s2 == b.s2 && a.s3 == b.s3;
}

}  // namespace

HandlerConfig::HandlerConfig(zlog_category_s* log, std::vector<ConfigHandler*> handlers)
    : log_(log), handlers_(std::move(handlers)) {}

bool HandlerConfig::IsAt(const cdb_txid& txid) const {
  return IsLoaded() && Same(txid, applied_);
}

void HandlerConfig::Load(AgentConnection& agent, const cdb_txid& txid) {
  progress_ = Progress::kLoading;
  CFM_FAIL_POINT(velconfd_loading);
  for (ConfigHandler* handler : handlers_) {
    handler->LoadInitialConfig(agent.DataSocket());
  }
  // Handlers may pass over reads that fail. So it is here that an agent lost
  // on the way shows, and with it a mirror with holes.
  if (!Same(agent.ReadTxid(), txid)) {
    throw AgentError("the configuration changed during its initial load, in spite of the lock");
  }
  CFM_FAIL_POINT(velconfd_loaded);
  progress_ = Progress::kLoaded;
  applied_ = txid;
}

void HandlerConfig::ApplyInitial() {
  if (progress_ != Progress::kLoaded) {
    return;
  }
  progress_ = Progress::kApplied;
  CFM_FAIL_POINT(velconfd_initial_applying);
  for (ConfigHandler* handler : handlers_) {
    LogResult("ApplyInitialConfig", handler->ApplyInitialConfig());
  }
  CFM_FAIL_POINT(velconfd_initial_applied);
}

// Nothing is delivered before everything has been read: a commit reaches the
// handlers whole or not at all. Whatever goes wrong with the agent before the
// transaction id is kept leaves the old one in place, and the next connection
// finds out what became of the commit.
void HandlerConfig::TakeCommit(AgentConnection& agent) {
  const std::vector<int> notified = agent.ReadNotification();
  std::vector<Commit> commits =
      GatherCommits(agent.SubscriptionSocket(), agent.Subscribed(), notified);
  const cdb_txid txid = agent.ReadTxid();
  // An agent that has lost patience with this program hangs up before it goes
  // on to the next commit. As long as it has not, the id is that of this one.
  agent.CheckSubscriptionSocket();
  CFM_FAIL_POINT(velconfd_gathered);
  for (const Commit& commit : commits) {
    commit.Handler().StartCommit();
  }
  CFM_FAIL_POINT(velconfd_commit_started);
  for (Commit& commit : commits) {
    commit.Deliver();
  }
  CFM_FAIL_POINT(velconfd_commit_delivered);
  for (const Commit& commit : commits) {
    CheckApplied(commit.Handler().ApplyCommitConfig());
  }
  CFM_FAIL_POINT(velconfd_commit_applied);
  // A commit may have another part for points of a later priority. Until
  // that has been seen a lost agent has to count as one with news.
  if (agent.Subscribed().CompletesCommit(notified)) {
    applied_ = txid;
  }
  agent.Acknowledge();
  CFM_FAIL_POINT(velconfd_commit_acknowledged);
}

// The API has no word for a commit that could not be applied, so it is not
// acknowledged: the agent tells whoever committed, and the next connection finds
// that the program lacks it.
void HandlerConfig::CheckApplied(int result) const {
  LogResult("ApplyCommitConfig", result);
  if (result != 0) {
    throw AgentError("hung up instead of acknowledging a commit that was not applied");
  }
}

void HandlerConfig::LogResult(const char* operation, int result) const {
  if (result != 0) {
    Log(log_, kTolerated, std::string(operation) + " returned " + std::to_string(result));
  }
}

}  // namespace velconfd
