// The running configuration while the agent waits for the replies to a batch of
// reads. No commit is made meanwhile, so every session that a callback begins
// sees the same state: it reads from what came with the batch, and is begun at
// the agent only when it asks for something else. What is fetched then serves
// the sessions behind it as well.
#ifndef CONFD_CLIENT_GIVEN_CONFIGURATION_H
#define CONFD_CLIENT_GIVEN_CONFIGURATION_H

#include <agent.pb.h>

#include <memory>
#include <string>

#include "confd_client/read_cache.h"

namespace confd {

class GivenConfiguration {
 public:
  // In force for its life, from the arrival of a batch until its replies are
  // sent. `agent` is the address of the one that has sent it. Throws
  // ipc::ProtocolError.
  GivenConfiguration(std::string agent, const std::shared_ptr<const cfm::agent::ReadBatch>& batch);
  ~GivenConfiguration();

  GivenConfiguration(const GivenConfiguration&) = delete;
  GivenConfiguration& operator=(const GivenConfiguration&) = delete;

  // For a session on the running datastore of that agent, without locks, that
  // begins now; null when it has to begin there.
  static std::shared_ptr<ReadCache> ForNewSession(const std::string& agent);
  // To be called before the agent is told what lets it make a commit. Sessions
  // that are open are begun at the agent, at the state that they have read;
  // those that begin later see what is then.
  static void Leave() noexcept;

  // A session has read from this cache.
  static void NoteRead(const ReadCache& cache);
  static void ForgetReads();
  // Whether one has since they were forgotten.
  static bool WasRead();

 private:
  std::shared_ptr<ReadCache> cache_;  // null once it was left
  std::string agent_;
  bool was_read_ = false;
  GivenConfiguration* outer_;
};

}  // namespace confd

#endif
