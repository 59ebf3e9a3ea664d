// The whole agent on one event loop: what main builds, and what tests build
// in its stead.
#ifndef AGENT_AGENT_H
#define AGENT_AGENT_H

#include <systemd/sd-event.h>

#include "announcement.h"
#include "candidate.h"
#include "commit_queue.h"
#include "datastore.h"
#include "directory_locks.h"
#include "ending.h"
#include "heartbeat.h"
#include "lock_table.h"
#include "model.h"
#include "operational_store.h"
#include "operational_watch.h"
#include "options.h"
#include "provider_model.h"
#include "providers.h"
#include "server.h"
#include "status_board.h"
#include "store.h"
#include "subscriptions.h"
#include "writer_hold.h"

namespace agentd {

class Agent {
 public:
  // Takes the locks of both directories, loads the running configuration and
  // listens. Throws std::exception with one line of text.
  Agent(sd_event* loop, const Options& options);

  // The loop ends with status 0 as soon as what is in work is finished, or
  // options.end_timeout has passed; at once when it is asked to again.
  void End() { ending_.Begin(); }

  std::uint64_t Txid() const { return datastore_.Running()->Txid(); }

 private:
  cfm::agent::Status ReadStatus() const;
  std::string Unfinished() const;
  Ending::Steps StepsOfEnding();

  Model model_;
  DirectoryLocks locks_of_directories_;
  Store store_;
  Datastore datastore_;
  Candidate candidate_;
  Heartbeat heartbeat_;
  LockTable locks_;
  Subscriptions subscriptions_;
  Announcement announcement_;
  CommitQueue commits_;
  ProviderModel provider_model_;
  OperationalStore operational_;
  WriterHold writers_;
  OperationalWatch watch_;
  Providers providers_;
  StatusBoard status_;
  Ending ending_;
  Server server_;
};

}  // namespace agentd

#endif
