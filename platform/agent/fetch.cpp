#include "fetch.h"

#include <confd_lib.h>

#include "data_nodes.h"
#include "instance_path.h"
#include "nodes.h"

namespace agentd {
namespace {

using cfm::agent::DataNode;

class Fetcher {
 public:
  Fetcher(const Model& model, const Snapshot& state, const InstancePath& path)
      : nodes_(model, state), state_(state), path_(path) {}

  DataNode Run() {
    DataNode top;
    // A path begins at a top-level container, which is always there.
    if (const lyd_node* node = FindChild(state_.Top(), nullptr, path_.front())) {
      OnTheWay(*node, 1, top);
    }
    return top;
  }

 private:
  // A node that the path goes through, or ends at; `depth` steps lead to it.
  void OnTheWay(const lyd_node& node, std::size_t depth, DataNode& out) const {
    nodes_.Head(node, out);
    const PathStep* next = depth < path_.size() ? &path_[depth] : nullptr;
    const lyd_node* way = next != nullptr && next->schema->nodetype == LYS_CONTAINER
                              ? FindChild(state_.Top(), &node, *next)
                              : nullptr;
    nodes_.Own(node, out, [&](const lyd_node& container, DataNode& child) {
      if (&container == way) {
        OnTheWay(container, depth + 1, child);
      }
      return &container == way;
    });
    if (next == nullptr || next->schema->nodetype != LYS_LIST) {
      return;
    }
    out.set_coverage(DataNode::SOME_ENTRIES);
    if (const lyd_node* entry = Entry(node, *next)) {
      DataNode& child = *out.add_children();
      if (next->position) {
        nodes_.Whole(*entry, child);
        child.set_position(*next->position);
      } else {
        OnTheWay(*entry, depth + 1, child);
      }
    }
  }

  const lyd_node* Entry(const lyd_node& parent, const PathStep& step) const {
    if (!step.position) {
      return FindChild(state_.Top(), &parent, step);
    }
    const auto& entries = state_.Entries(&parent, *step.schema);
    return *step.position < entries.size() ? entries[*step.position] : nullptr;
  }

  DataNodes nodes_;
  const Snapshot& state_;
  const InstancePath& path_;
};

// Why a read cannot go this way; every step but the last needs to lead to one
// instance.
Problems CheckPath(const InstancePath& path) {
  const auto refused = [&](const std::string& message) {
    return Problems{{.message = message, .path = TextOf(path), .code = CONFD_ERR_BADPATH}};
  };
  for (std::size_t i = 0; i < path.size(); ++i) {
    const PathStep& step = path[i];
    if ((step.schema->flags & LYS_CONFIG_W) == 0) {
      return refused("'" + NameOf(*step.schema) + "' is not configuration");
    }
    if (i + 1 < path.size() && step.schema->nodetype == LYS_LIST && step.keys.empty() &&
        !step.position) {
      return refused("the path does not say which entry of '" + NameOf(*step.schema) + "'");
    }
  }
  return {};
}

}  // namespace

Result<DataNode> Fetch(const Model& model, const Snapshot& state, const cfm::agent::Path& path) {
  auto resolved = ResolvePath(model, path);
  if (!resolved) {
    return resolved.Why();
  }
  if (Problems problems = CheckPath(*resolved); !problems.empty()) {
    return problems;
  }
  return Fetcher(model, state, *resolved).Run();
}

}  // namespace agentd
