// The changed nodes of one walk, kept until they are delivered.
#ifndef VELCONFD_CHANGE_LOG_H
#define VELCONFD_CHANGE_LOG_H

#include <confd_cdb.h>
#include <confd_lib.h>

#include <cstddef>
#include <memory>
#include <vector>

namespace velconfd {

struct FreeDupValue {
  void operator()(confd_value_t* value) const { confd_free_dup_value(value); }
};
using OwnedValue = std::unique_ptr<confd_value_t, FreeDupValue>;  // confd_value_dup

// Deep copies of nodes in the order of a walk, which goes parents first and
// branch by branch. Neighbours share the upper part of their paths, so that
// memory and time follow the number of changes and not the size of a
// confd_hkeypath_t.
class ChangeLog {
 public:
  struct Change {
    int place;  // of the node's deepest element
    confd_iter_op op;
    OwnedValue old_value;
    OwnedValue new_value;
    bool deleted_entry;
  };

  // The values may be null. Throws std::bad_alloc.
  void Add(const confd_hkeypath_t& node, confd_iter_op op, const confd_value_t* old_value,
           const confd_value_t* new_value, bool deleted_entry);

  std::vector<Change>& Changes() { return changes_; }

  // Writes the node's path over `keypath`, whose other slots become
  // C_NOEXISTS. The values in it are still the log's.
  void Restore(const Change& change, confd_hkeypath_t& keypath) const;

  // From now on Skipped says true for what lies below the node; for its
  // siblings and what lies below them.
  void SkipBelow(const Change& change);
  void SkipSiblings(const Change& change);
  bool Skipped(const Change& change) const;

 private:
  // One element of a keypath: a tag, or the keys of an entry.
  struct Element {
    int parent;  // -1: top
    std::vector<OwnedValue> values;
    bool skip_below = false;
  };

  bool Same(const Element& element, const confd_value_t* values) const;
  int Append(int parent, const confd_value_t* values);

  std::vector<Element> elements_;
  std::vector<Change> changes_;
  std::vector<int> branch_;  // the elements of the last path, top first
  bool skip_all_ = false;
};

}  // namespace velconfd

#endif
