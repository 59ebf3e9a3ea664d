#include "operational_fetch.h"

#include <confd_lib.h>

#include "typed_value.h"

namespace agentd {
namespace {

using pb::DataNode;

class Fetcher {
 public:
  Fetcher(const Model& model, const InstancePath& path) : model_(model), path_(path) {}

  DataNode Run(const OperationalNode& top) const {
    DataNode out;
    const PathStep& first = path_.front();
    Head(*first.schema, out);
    OnTheWay(top.Container(*first.schema), *first.schema, 1, out);
    return out;
  }

 private:
  void Head(const lysc_node& schema, DataNode& out) const {
    out.set_name(schema.name);
    out.set_tag(model_.TagOf(schema));
  }

  void EntryHead(const OperationalEntry& entry, DataNode& out) const {
    Head(entry.Schema(), out);
    const auto keys = KeysOf(entry.Schema());
    for (std::size_t i = 0; i < keys.size(); ++i) {
      *out.add_keys() = ValueOfCanonical(model_, *keys[i], entry.Keys()[i]);
      Leaf(*keys[i], entry.Keys()[i], *out.add_children());
    }
  }

  void Leaf(const lysc_node& schema, const std::string& text, DataNode& out) const {
    Head(schema, out);
    *out.mutable_value() = ValueOfCanonical(model_, schema, text);
  }

  // A node that the path goes through, or ends at; `depth` steps lead to it.
  // `node` is null when nothing was written there.
  void OnTheWay(const OperationalNode* node, const lysc_node& schema, std::size_t depth,
                DataNode& out) const {
    const PathStep* next = depth < path_.size() ? &path_[depth] : nullptr;
    Own(node, schema, next != nullptr ? next->schema : nullptr, depth, out);
    if (next == nullptr || next->schema->nodetype != LYS_LIST) {
      return;
    }
    out.set_coverage(DataNode::SOME_ENTRIES);
    const OperationalList* list = node != nullptr ? node->List(*next->schema) : nullptr;
    const bool names_one = next->position.has_value() || !next->keys.empty();
    const EntryPtr entry = list != nullptr && names_one ? list->Find(*next) : nullptr;
    if (entry == nullptr) {
      return;
    }
    DataNode& child = *out.add_children();
    EntryHead(*entry, child);
    if (next->position) {
      child.set_position(*next->position);
      Whole(*entry, entry->Schema(), child);
    } else {
      OnTheWay(entry.get(), entry->Schema(), depth + 1, child);
    }
  }

  void Leaves(const OperationalNode* node, DataNode& out) const {
    if (node != nullptr) {
      for (const auto& [schema, text] : node->leaves) {
        Leaf(*schema, text, *out.add_children());
      }
    }
  }

  // Containers of the model are there, whether anything stands in them or not.
  template <typename Inner>
  void Containers(const OperationalNode* node, const lysc_node& schema, DataNode& out,
                  const Inner& inner) const {
    for (const lysc_node* child = lysc_node_child(&schema); child != nullptr; child = child->next) {
      if (child->nodetype == LYS_CONTAINER) {
        DataNode& container = *out.add_children();
        Head(*child, container);
        inner(node != nullptr ? node->Container(*child) : nullptr, *child, container);
      }
    }
  }

  // Everything of a node but the entries of its lists. `way` is the child that
  // the path goes on through.
  void Own(const OperationalNode* node, const lysc_node& schema, const lysc_node* way,
           std::size_t depth, DataNode& out) const {
    out.set_coverage(DataNode::OWN_NODES);
    Leaves(node, out);
    Containers(node, schema, out,
               [&](const OperationalNode* inner, const lysc_node& child, DataNode& container) {
                 if (&child == way) {
                   OnTheWay(inner, child, depth + 1, container);
                 } else {
                   Own(inner, child, nullptr, depth, container);
                 }
               });
    for (const lysc_node* list = lysc_node_child(&schema); list != nullptr; list = list->next) {
      if (list->nodetype == LYS_LIST) {
        const OperationalList* entries = node != nullptr ? node->List(*list) : nullptr;
        auto* size = out.add_list_sizes();
        size->set_name(list->name);
        size->set_entries(entries != nullptr ? static_cast<std::uint32_t>(entries->Size()) : 0);
      }
    }
  }

  void Whole(const OperationalNode& node, const lysc_node& schema, DataNode& out) const {
    out.set_coverage(DataNode::EVERYTHING);
    Leaves(&node, out);
    Containers(&node, schema, out,
               [&](const OperationalNode* inner, const lysc_node& child, DataNode& container) {
                 static const OperationalNode kNothing;
                 Whole(inner != nullptr ? *inner : kNothing, child, container);
               });
    for (const auto& [list, entries] : node.lists) {
      std::uint32_t position = 0;
      for (const EntryPtr& entry : entries.Entries()) {
        DataNode& child = *out.add_children();
        EntryHead(*entry, child);
        child.set_position(position++);
        Whole(*entry, *list, child);
      }
    }
  }

  const Model& model_;
  const InstancePath& path_;
};

Problems CheckPath(const InstancePath& path) {
  const auto refused = [&](const std::string& message) {
    return Problems{{.message = message, .path = TextOf(path), .code = CONFD_ERR_BADPATH}};
  };
  for (std::size_t i = 0; i < path.size(); ++i) {
    const PathStep& step = path[i];
    if ((step.schema->flags & LYS_CONFIG_R) == 0) {
      return refused("'" + NameOf(*step.schema) + "' is configuration, not operational data");
    }
    if (i + 1 < path.size() && step.schema->nodetype == LYS_LIST && step.keys.empty() &&
        !step.position) {
      return refused("the path does not say which entry of '" + NameOf(*step.schema) + "'");
    }
  }
  return path.front().schema->nodetype == LYS_CONTAINER
             ? Problems{}
             : refused("the path does not begin at a container");
}

}  // namespace

Result<DataNode> FetchOperational(const Model& model, const OperationalStore& store,
                                  const pb::Path& path) {
  auto resolved = ResolvePath(model, path);
  if (!resolved) {
    return resolved.Why();
  }
  if (Problems problems = CheckPath(*resolved); !problems.empty()) {
    return problems;
  }
  return Fetcher(model, *resolved).Run(store.Top());
}

}  // namespace agentd
