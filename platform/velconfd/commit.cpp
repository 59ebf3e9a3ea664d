#include "commit.h"

#include <algorithm>
#include <memory>

namespace velconfd {
namespace {

std::unique_ptr<confd_hkeypath_t> EmptyKeypath() {
  auto keypath = std::make_unique<confd_hkeypath_t>();  // too big for the stack of a callback
  for (auto& element : keypath->v) {
    for (confd_value_t& value : element) {
      CONFD_SET_NOEXISTS(&value);
    }
  }
  return keypath;
}

}  // namespace

Commit::Commit(const HandlerPoints& points) : points_(&points) {
  for (const ConfigPoint& point : points.points) {
    walks_.push_back({&point, {}});
  }
  std::stable_sort(walks_.begin(), walks_.end(), [](const PointWalk& a, const PointWalk& b) {
    return a.point->path.Depth() < b.point->path.Depth();
  });
}

const ConfigPoint* Commit::OwnerOf(const confd_hkeypath_t& node) const {
  const auto owner = std::find_if(
      walks_.rbegin(), walks_.rend(),
      [&node](const PointWalk& candidate) { return candidate.point->path.Covers(node); });
  return owner == walks_.rend() ? nullptr : owner->point;
}

confd_iter_ret Commit::Record(std::size_t walk, const confd_hkeypath_t& node, confd_iter_op op,
                              const confd_value_t* old_value, const confd_value_t* new_value) {
  const ConfigPoint& point = *walks_[walk].point;
  const confd_iter_ret how = op == MOP_DELETED ? ITER_CONTINUE : ITER_RECURSE;
  if (!point.path.Covers(node)) {
    return how;  // on the way to the point
  }
  if (OwnerOf(node) != &point || deleted_.Above(node)) {
    return ITER_CONTINUE;
  }
  if (op == MOP_DELETED) {
    deleted_.Add(node);
  }
  const bool deleted_entry = op == MOP_DELETED && point.path.IsEntry(node);
  walks_[walk].log.Add(node, op, old_value, new_value, deleted_entry);
  return how;
}

void Commit::Deliver() {
  const auto keypath = EmptyKeypath();
  for (auto walk = walks_.rbegin(); walk != walks_.rend(); ++walk) {
    DeliverFrom(*walk, true, *keypath);
  }
  for (PointWalk& walk : walks_) {
    DeliverFrom(walk, false, *keypath);
  }
}

void Commit::DeliverFrom(PointWalk& walk, bool deleted_entries, confd_hkeypath_t& keypath) {
  for (ChangeLog::Change& change : walk.log.Changes()) {
    if (walk.stopped) {
      return;
    }
    if (change.deleted_entry != deleted_entries || walk.log.Skipped(change)) {
      continue;
    }
    walk.log.Restore(change, keypath);
    Steer(walk, change,
          walk.point->point.iterate(&keypath, change.op, change.old_value.get(),
                                    change.new_value.get()));
  }
}

void Commit::Steer(PointWalk& walk, const ChangeLog::Change& change, confd_iter_ret how) {
  switch (how) {
    case ITER_RECURSE:
      break;
    case ITER_CONTINUE:
      walk.log.SkipBelow(change);
      break;
    case ITER_UP:
      walk.log.SkipSiblings(change);
      break;
    case ITER_STOP:
      walk.stopped = true;
      break;
  }
}

}  // namespace velconfd
