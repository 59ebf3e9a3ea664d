// Which configuration the configuration handlers hold: loaded and applied
// once in the process's life, then moved on by commits.
#ifndef VELCONFD_HANDLER_CONFIG_H
#define VELCONFD_HANDLER_CONFIG_H

#include <confd_cdb.h>

#include <vector>

#include "agent_connection.h"
#include "velconfd/handlers.h"

struct zlog_category_s;

namespace velconfd {

// Every call throws AgentError when the agent is lost on the way, and what
// the handlers throw.
class HandlerConfig {
 public:
  // The handlers are borrowed.
  HandlerConfig(zlog_category_s* log, std::vector<ConfigHandler*> handlers);

  const std::vector<ConfigHandler*>& Handlers() const { return handlers_; }

  // The load was begun and did not come to its end: nobody knows what the
  // handlers hold, and there is no second load.
  bool IsPartial() const { return progress_ == Progress::kLoading; }
  bool IsLoaded() const { return progress_ >= Progress::kLoaded; }
  // The handlers hold the configuration of that commit.
  bool IsAt(const cdb_txid& txid) const;

  // Through the connection's open session, which began at `txid`.
  void Load(AgentConnection& agent, const cdb_txid& txid);
  // After Load; does its work the first time only.
  void ApplyInitial();
  // The notification that made the subscription socket readable.
  void TakeCommit(AgentConnection& agent);

 private:
  enum class Progress { kNothing, kLoading, kLoaded, kApplied };

  void CheckApplied(int result) const;
  void LogResult(const char* operation, int result) const;

  zlog_category_s* log_;
  std::vector<ConfigHandler*> handlers_;
  Progress progress_ = Progress::kNothing;
  cdb_txid applied_{};
};

}  // namespace velconfd

#endif
