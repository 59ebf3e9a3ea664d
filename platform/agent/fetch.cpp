#include "fetch.h"

#include <confd_lib.h>

#include "instance_path.h"
#include "nodes.h"
#include "values.h"

namespace agentd {
namespace {

using pb::DataNode;

class Fetcher {
 public:
  Fetcher(const Model& model, const Snapshot& state, const InstancePath& path)
      : model_(model), state_(state), path_(path) {}

  DataNode Run() {
    DataNode top;
    // A path begins at a top-level container, which is always there.
    if (const lyd_node* node = FindChild(state_.Top(), nullptr, path_.front())) {
      OnTheWay(*node, 1, top);
    }
    return top;
  }

 private:
  void Head(const lyd_node& node, DataNode& out) const {
    out.set_name(node.schema->name);
    out.set_tag(model_.TagOf(*node.schema));
    for (const lyd_node* key = lyd_child(&node);
         node.schema->nodetype == LYS_LIST && key != nullptr && lysc_is_key(key->schema);
         key = key->next) {
      *out.add_keys() = ValueOf(model_, *key);
    }
  }

  // A node that the path goes through, or ends at; `depth` steps lead to it.
  void OnTheWay(const lyd_node& node, std::size_t depth, DataNode& out) const {
    Head(node, out);
    const PathStep* next = depth < path_.size() ? &path_[depth] : nullptr;
    const lyd_node* way = next != nullptr && next->schema->nodetype == LYS_CONTAINER
                              ? FindChild(state_.Top(), &node, *next)
                              : nullptr;
    Own(node, out, way, depth);
    if (next == nullptr || next->schema->nodetype != LYS_LIST) {
      return;
    }
    out.set_coverage(DataNode::SOME_ENTRIES);
    if (const lyd_node* entry = Entry(node, *next)) {
      DataNode& child = *out.add_children();
      if (next->position) {
        Whole(*entry, child);
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

  // Everything of a node but the entries of its lists. `way` is the child
  // container that the path goes on through.
  void Own(const lyd_node& node, DataNode& out, const lyd_node* way, std::size_t depth) const {
    out.set_coverage(DataNode::OWN_NODES);
    Children(node, out, [&](const lyd_node& container, DataNode& child) {
      if (&container == way) {
        OnTheWay(container, depth + 1, child);
      } else {
        Head(container, child);
        Own(container, child, nullptr, depth);
      }
    });
    for (const lysc_node* list = lysc_node_child(node.schema); list != nullptr; list = list->next) {
      if (list->nodetype == LYS_LIST) {
        auto* size = out.add_list_sizes();
        size->set_name(list->name);
        size->set_entries(static_cast<std::uint32_t>(state_.Entries(&node, *list).size()));
      }
    }
  }

  void Whole(const lyd_node& node, DataNode& out) const {
    Head(node, out);
    out.set_coverage(DataNode::EVERYTHING);
    Children(node, out,
             [&](const lyd_node& container, DataNode& child) { Whole(container, child); });
    const lysc_node* list = nullptr;
    std::uint32_t position = 0;
    for (const lyd_node* child = lyd_child(&node); child != nullptr; child = child->next) {
      if (child->schema->nodetype == LYS_LIST) {
        position = child->schema == list ? position + 1 : 0;
        list = child->schema;
        DataNode& entry = *out.add_children();
        Whole(*child, entry);
        entry.set_position(position);
      }
    }
  }

  // Leaves, leaf-lists and containers; `inner` fills a container.
  template <typename Inner>
  void Children(const lyd_node& node, DataNode& out, const Inner& inner) const {
    DataNode* leaf_list = nullptr;
    const lysc_node* leaf_list_schema = nullptr;
    for (const lyd_node* child = lyd_child(&node); child != nullptr; child = child->next) {
      if (child->schema->nodetype == LYS_LIST) {
        // Thousands, perhaps: on to the last of them.
        child = state_.Entries(&node, *child->schema).back();
      } else if (child->schema->nodetype == LYS_CONTAINER) {
        inner(*child, *out.add_children());
      } else if (child->schema->nodetype == LYS_LEAF) {
        DataNode& leaf = *out.add_children();
        Head(*child, leaf);
        *leaf.mutable_value() = ValueOf(model_, *child);
      } else if (child->schema->nodetype == LYS_LEAFLIST) {
        if (child->schema != leaf_list_schema) {
          leaf_list_schema = child->schema;
          leaf_list = out.add_children();
          Head(*child, *leaf_list);
          leaf_list->mutable_value()->set_type(C_LIST);
        }
        *leaf_list->mutable_value()->add_list() = ValueOf(model_, *child);
      }
    }
  }

  const Model& model_;
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

Result<DataNode> Fetch(const Model& model, const Snapshot& state, const pb::Path& path) {
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
