// The running configuration: one published state after the other, each on
// disk before it is seen.
//
// A commit copies, validates and compares the parts that it touches. They then
// take their places in the running tree itself, unless somebody reads that: who
// does keeps it, and the next state is made of a copy.
#ifndef AGENT_DATASTORE_H
#define AGENT_DATASTORE_H

#include <memory>

#include "difference.h"
#include "draft.h"
#include "snapshot.h"
#include "store.h"

namespace agentd {

// A validated successor of the running configuration.
struct Prepared {
  Draft draft;
  std::unique_ptr<Difference> difference;
  cfm::agent::Change changes;  // of values, for subscribers
  Usage usage;
};

class Datastore {
 public:
  // Loads what the store keeps. Throws std::runtime_error when the model does
  // not accept it.
  Datastore(const Model& model, Store& store);

  SnapshotPtr Running() const { return running_; }
  // A successor of it to edit.
  Draft NewDraft() const { return Draft(model_, running_); }

  // Validates an edited draft of the running state and finds what it changes.
  Result<Prepared> Prepare(Draft draft) const;
  // Makes it durable and then the running state, with the next transaction id.
  // Where no value changes, as by a default that is written down, the id stays:
  // nobody is told of that, and who knows the values must not seem to lack some.
  // Of what was prepared only the changes are left. With problems nothing has
  // changed.
  Problems Publish(Prepared& prepared);

 private:
  Tree TakeRunning();

  const Model& model_;
  Store& store_;
  std::shared_ptr<Snapshot> running_;
};

}  // namespace agentd

#endif
