// The path of a subscription point, and which nodes lie below it.
#ifndef VELCONFD_POINT_PATH_H
#define VELCONFD_POINT_PATH_H

#include <confd_lib.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace velconfd {

class PointPath {
 public:
  // `path`: absolute, node names only, such as "/config/oam/cfm/md/". Keys
  // would make it one instance's path, and which point is the deepest would
  // depend on the instance: std::invalid_argument. The schemas are loaded;
  // AgentError for a name that no model of the agent has.
  explicit PointPath(const std::string& path);

  // Number of nodes on the path, keys not counted.
  std::size_t Depth() const { return tags_.size(); }
  // `node` is named by the path or lies below such a node.
  bool Covers(const confd_hkeypath_t& node) const;
  // A covered node is an entry of the list that the path names. The elements
  // of a leaf-list look the same, but lie deeper.
  bool IsEntry(const confd_hkeypath_t& node) const;

 private:
  std::vector<std::uint32_t> tags_;  // top first
};

}  // namespace velconfd

#endif
