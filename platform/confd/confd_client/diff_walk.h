// The walk of cdb_diff_iterate over the changes of one commit.
#ifndef CONFD_CLIENT_DIFF_WALK_H
#define CONFD_CLIENT_DIFF_WALK_H

#include <agent.pb.h>
#include <confd_cdb.h>

#include "confd_client/keypath_builder.h"
#include "confd_client/path.h"

namespace confd {

class Names;

using IterateCallback = confd_iter_ret (*)(confd_hkeypath_t*, confd_iter_op, confd_value_t*,
                                           confd_value_t*, void*);

class DiffWalk {
 public:
  // Reports the changed instances of `point` and the changes below them. Its
  // names stand for whatever tags bear them. `name_space` goes into the
  // elements of the keypath. All is borrowed.
  DiffWalk(const Names& names, const Path& point, std::uint32_t name_space, int flags,
           IterateCallback callback, void* state);

  // Returns when the walk is over or stopped. Throws ApiError when the
  // callback returns what is no confd_iter_ret, ipc::ProtocolError for changes
  // that make no sense.
  void Run(const cfm::agent::Change& root);

 private:
  using Change = cfm::agent::Change;
  // What comes after a node: its next sibling, its parent's, or nothing.
  enum class Next { kSibling, kUp, kStop };

  Next Approach(const Change& parent, std::size_t step);
  Next ApproachChild(const Change& child, std::size_t step);
  Next ReportChildren(const Change& parent);
  Next Report(const Change& change);
  confd_iter_ret Call(const Change& change);
  bool Matches(const Change& change, const Step& step) const;
  void Push(const Change& change);
  template <typename Visit>
  Next Inside(const Change& change, Visit visit);

  const Names& names_;
  const Path& point_;
  std::uint32_t name_space_;
  bool wants_old_values_;
  IterateCallback callback_;
  void* state_;
  KeypathBuilder keypath_;
};

}  // namespace confd

#endif
