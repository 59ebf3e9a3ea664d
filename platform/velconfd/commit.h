// What one commit changes for one configuration handler, and in which order
// the handler's callbacks get to know it. No sockets here.
//
// Every changed node belongs to the deepest of the handler's points that
// covers it, and only that point's callback gets it. Delivery starts with the
// deleted list entries of the points, deepest point first; then comes
// everything else, the shortest path first, each point in the order of its
// walk. So a parent is there before its children, and an id that moves
// between a list and a leaf-list next to it is gone from the one before it
// appears in the other. What lies below a deleted node is never delivered.
#ifndef VELCONFD_COMMIT_H
#define VELCONFD_COMMIT_H

#include <cstddef>
#include <vector>

#include "change_log.h"
#include "deleted_nodes.h"
#include "subscriptions.h"

namespace velconfd {

class Commit {
 public:
  // `points` is borrowed.
  explicit Commit(const HandlerPoints& points);

  ConfigHandler& Handler() const { return *points_->handler; }

  // The walks to make, in this order: those of points higher up tell what is
  // deleted further down. Walk(i) is the point of walk i.
  std::size_t Walks() const { return walks_.size(); }
  const SubscriptionPoint& Walk(std::size_t walk) const { return walks_[walk].point->point; }

  // Takes a changed node of a walk; returns how the walk goes on. Throws
  // std::bad_alloc.
  confd_iter_ret Record(std::size_t walk, const confd_hkeypath_t& node, confd_iter_op op,
                        const confd_value_t* old_value, const confd_value_t* new_value);

  // Calls the points' callbacks. What a callback returns steers the rest of
  // its own point: ITER_CONTINUE leaves out the node's children, ITER_UP its
  // remaining siblings as well, ITER_STOP everything.
  void Deliver();

 private:
  struct PointWalk {
    const ConfigPoint* point;
    ChangeLog log;
    bool stopped = false;
  };

  const ConfigPoint* OwnerOf(const confd_hkeypath_t& node) const;
  static void DeliverFrom(PointWalk& walk, bool deleted_entries, confd_hkeypath_t& keypath);
  static void Steer(PointWalk& walk, const ChangeLog::Change& change, confd_iter_ret how);

  const HandlerPoints* points_;
  std::vector<PointWalk> walks_;  // shortest path first
  DeletedNodes deleted_;
};

}  // namespace velconfd

#endif
