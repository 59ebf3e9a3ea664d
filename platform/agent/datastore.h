// The running configuration: one published state after the other, each on
// disk before it is seen.
//
// A commit works on a copy of the whole tree and validates all of it. Whoever
// makes edits in place one day changes what stands behind these operations.
#ifndef AGENT_DATASTORE_H
#define AGENT_DATASTORE_H

#include <memory>

#include "difference.h"
#include "snapshot.h"
#include "store.h"

namespace agentd {

// A validated successor of the running configuration.
struct Prepared {
  Tree tree;
  std::unique_ptr<Difference> difference;
};

class Datastore {
 public:
  // Loads what the store keeps. Throws std::runtime_error when the model does
  // not accept it.
  Datastore(const Model& model, Store& store);

  SnapshotPtr Running() const { return running_; }
  // A copy of the running tree to edit.
  Tree WorkingCopy() const { return CopyTree(running_->Top()); }

  // Validates an edited tree and finds what it changes.
  Result<Prepared> Prepare(Tree tree) const;
  // Makes it durable and then the running state. With problems nothing has
  // changed.
  Problems Publish(Prepared prepared);

 private:
  const Model& model_;
  Store& store_;
  SnapshotPtr running_;
};

}  // namespace agentd

#endif
