#include "point_path.h"

#include <sstream>
#include <stdexcept>

#include "agent_error.h"

namespace velconfd {
namespace {

bool IsTag(const confd_hkeypath_t& node, int level) {
  return node.v[level][0].type == C_XMLTAG;
}

std::uint32_t TagOf(const std::string& name, const std::string& path) {
  const std::uint32_t tag = confd_str2hash(name.c_str());
  if (tag == 0) {
    throw AgentError("subscription to " + path + ": the agent's models have no node " + name);
  }
  return tag;
}

}  // namespace

PointPath::PointPath(const std::string& path) {
  if (path.empty() || path.front() != '/' || path.find_first_of("{}[]%") != std::string::npos) {
    throw std::invalid_argument("subscription to '" + path +
                                "': the path has to be absolute and without keys");
  }
  std::istringstream names(path);
  for (std::string name; std::getline(names, name, '/');) {
    if (!name.empty()) {
      tags_.push_back(TagOf(name, path));
    }
  }
}

bool PointPath::Covers(const confd_hkeypath_t& node) const {
  std::size_t matched = 0;
  for (int level = node.len - 1; level >= 0 && matched < tags_.size(); --level) {
    if (IsTag(node, level)) {
      if (CONFD_GET_XMLTAG(&node.v[level][0]) != tags_[matched]) {
        return false;
      }
      ++matched;
    }
  }
  return matched == tags_.size();
}

bool PointPath::IsEntry(const confd_hkeypath_t& node) const {
  std::size_t tags = 0;
  for (int level = 0; level < node.len; ++level) {
    tags += IsTag(node, level) ? 1 : 0;
  }
  return node.len > 0 && !IsTag(node, 0) && tags == tags_.size();
}

}  // namespace velconfd
