// The one candidate configuration, shared by all front ends.
#ifndef AGENT_CANDIDATE_H
#define AGENT_CANDIDATE_H

#include <optional>

#include "agent.pb.h"
#include "datastore.h"

namespace agentd {

class Candidate {
 public:
  Candidate(const Model& model, const Datastore& datastore)
      : model_(model), datastore_(datastore) {}

  bool IsOpen() const { return draft_.has_value(); }
  // The whole configuration as its edits make it. For an open one.
  Tree Complete() const;

  // Opens the candidate from running when it is not open. An edit that is
  // refused leaves everything as it was.
  Problems Apply(const cfm::agent::Edit& edit);
  Problems Discard();

  // Whether it could be committed now.
  Problems Validate() const;

  // What to commit; refused when running has moved on since the candidate
  // was opened. Until EndCommit nothing may change the candidate.
  Result<Draft> BeginCommit();
  // Committed, it is closed; else it stays as it was.
  void EndCommit(bool committed);

  // Its own edits: what it changes against running as it was opened from.
  std::vector<cfm::agent::DiffLine> Lines() const;

 private:
  std::optional<Problem> Staleness() const;
  // On what it was opened from; while it is committed, on what running is.
  Draft OnItsBase() const;

  const Model& model_;
  const Datastore& datastore_;
  std::optional<Draft> draft_;
  bool committing_ = false;
};

}  // namespace agentd

#endif
