// A front end: whoever edits and shows the configuration for people.
#ifndef AGENT_FRONT_END_H
#define AGENT_FRONT_END_H

#include "commit_queue.h"
#include "provider.h"
#include "role.h"

namespace agentd {

class FrontEnd : public Role {
 public:
  FrontEnd(const Services& services, Peer& peer) : services_(services), peer_(peer) {}
  ~FrontEnd() override;

  void Handle(const cfm::agent::Request& request) override;
  bool IsAtWork() const override { return committing_ || task_ != nullptr; }
  void GiveUp() override;

 private:
  void Get(const cfm::agent::Get& request);
  void GetOperational(const cfm::agent::Get& request);
  void Invoke(const cfm::agent::Invoke& request);
  void WatchOperational(const cfm::agent::WatchOperational& request);
  void TellChanges(const std::vector<cfm::agent::OperationalChange>& changes);
  void EndWatch();
  void FinishTask(cfm::agent::Reply reply);
  void Edit(const cfm::agent::Edit& request);
  void ValidateCandidate();
  void CommitCandidate();
  void DiscardCandidate();
  void DiffCandidate();
  void SendStatus();
  void WatchStatus();
  void TellStatus(const cfm::agent::Status& status);

  Problems TestOnly(const cfm::agent::Edit& request) const;
  // Queues a commit; its end is answered when the front end is still there.
  void Commit(std::function<Result<Draft>()> make,
              std::function<void(const CommitResult&)> at_end = {});
  void Answer(const CommitResult& result);

  Services services_;
  Peer& peer_;
  bool committing_ = false;
  std::unique_ptr<Asker> task_;  // what waits for a data provider
};

}  // namespace agentd

#endif
