// Writes of operational data that need no answer, because the agent is sure to
// take them: they travel together.
//
// Sure is a value of which the agent has told that its leaf takes it, in an
// entry that a write of the same session has created or found. Should another
// program delete that entry meanwhile, the write counts as made before. Sure is
// also the deletion of a list's last entry once the agent keeps other programs
// from creating and deleting, and so the next, and the next.
#ifndef CONFD_CLIENT_DEFERRED_WRITES_H
#define CONFD_CLIENT_DEFERRED_WRITES_H

#include <agent.pb.h>

#include <map>
#include <string>

#include "confd_client/link.h"
#include "confd_client/path.h"

namespace confd {

// What the agent has told of the leaves in the entries of lists.
class WritableLists {
 public:
  using Leaves = std::map<std::string, cfm::agent::WritableLeaf>;

  // Null: nothing was told of the list that the entry is in.
  const Leaves* Find(const Path& entry) const;
  void Learn(const Path& entry,
             const google::protobuf::RepeatedPtrField<cfm::agent::WritableLeaf>& leaves);

 private:
  std::map<std::string, Leaves> lists_;
};

// The entry, named by keys alone, that a successful write shows to be there;
// empty when there is none.
Path EntryOf(cfm::agent::OperationalWrite::Operation operation, const Path& path);

// Those of one session.
class DeferredWrites {
 public:
  // `leaves` stay where they are as long as the session lasts.
  void Know(Path entry, const WritableLists::Leaves* leaves);
  // The list, whose entry `path` was deleted by its position, has so many left,
  // and nobody else changes that.
  void KnowEntriesLeft(const Path& path, std::uint32_t entries);
  // Nothing is known any more.
  void Forget();

  bool CanTake(const cfm::agent::OperationalWrite& write, const Path& path) const;
  // Sends what has come together when it is much.
  void Take(cfm::agent::OperationalWrite write, Link& link);
  // Throws ApiError when the agent is gone; they are gone with it. What
  // deletions make void is known when it returns.
  void Send(Link& link);

 private:
  bool CanSet(const cfm::agent::OperationalWrite& write, const Path& path) const;
  bool CanDelete(const Path& path) const;

  Path entry_;
  const WritableLists::Leaves* leaves_ = nullptr;
  Path list_;
  std::uint32_t entries_left_ = 0;
  cfm::agent::Request request_;
};

}  // namespace confd

#endif
