// The nodes that a commit deletes.
#ifndef VELCONFD_DELETED_NODES_H
#define VELCONFD_DELETED_NODES_H

#include <confd_lib.h>

#include <string>
#include <unordered_set>

namespace velconfd {

class DeletedNodes {
 public:
  void Add(const confd_hkeypath_t& node);
  // `node` lies below one of them. Costs nothing while there is none, and
  // time in the length of the path otherwise.
  bool Above(const confd_hkeypath_t& node) const;

 private:
  std::unordered_set<std::string> paths_;
};

}  // namespace velconfd

#endif
