#include "render.h"

#include <cstdlib>

#include "instance_path.h"
#include "nodes.h"

namespace agentd {
namespace {

using cfm::agent::Node;

std::vector<const lyd_node*> Select(const lyd_node* top, InstancePath path) {
  std::vector<const lyd_node*> found;
  if (path.empty()) {
    for (; top != nullptr; top = top->next) {
      found.push_back(top);
    }
    return found;
  }
  const PathStep& last = path.back();
  if ((last.schema->nodetype & (LYS_LIST | LYS_LEAFLIST)) == 0 || !last.keys.empty()) {
    if (const lyd_node* node = Find(top, path)) {
      found.push_back(node);
    }
    return found;
  }
  const lysc_node* schema = last.schema;
  path.pop_back();
  const lyd_node* parent = Find(top, path);
  for (const lyd_node* node = lyd_child(parent); node != nullptr; node = node->next) {
    if (node->schema == schema) {
      found.push_back(node);
    }
  }
  return found;
}

bool IsShown(const lyd_node& node, bool with_defaults) {
  return with_defaults || IsExplicit(node);
}

void Fill(const lyd_node& node, bool with_defaults, Node& out) {
  out.set_name(node.schema->name);
  out.set_is_default(!IsExplicit(node) && node.schema->nodetype == LYS_LEAF);
  switch (node.schema->nodetype) {
    case LYS_LEAF:
      out.set_kind(Node::LEAF);
      out.set_value(lyd_get_value(&node));
      return;
    case LYS_LEAFLIST:
      out.set_kind(Node::LEAF_LIST_ELEMENT);
      out.set_value(lyd_get_value(&node));
      return;
    default:
      out.set_kind(node.schema->nodetype == LYS_LIST ? Node::LIST_ENTRY : Node::CONTAINER);
  }
  for (const lyd_node* child = lyd_child(&node); child != nullptr; child = child->next) {
    if (IsShown(*child, with_defaults)) {
      Fill(*child, with_defaults, *out.add_children());
    }
  }
}

void FillTree(const std::vector<const lyd_node*>& nodes, const InstancePath& path,
              bool with_defaults, Node& out) {
  const bool is_one = !path.empty() && nodes.size() == 1 &&
                      ((path.back().schema->nodetype & (LYS_LIST | LYS_LEAFLIST)) == 0 ||
                       !path.back().keys.empty());
  if (is_one) {
    Fill(*nodes.front(), with_defaults, out);
    return;
  }
  out.set_kind(Node::CONTAINER);
  out.set_name(path.empty() ? "" : path.back().schema->name);
  for (const lyd_node* node : nodes) {
    if (IsShown(*node, with_defaults)) {
      Fill(*node, with_defaults, *out.add_children());
    }
  }
}

// The nodes in a tree of their own, with what they stand in.
Tree Extract(const Model& model, const std::vector<const lyd_node*>& nodes) {
  Tree tree;
  for (const lyd_node* node : nodes) {
    lyd_node* copy = nullptr;
    CheckYang(lyd_dup_single(node, nullptr,
                             LYD_DUP_RECURSIVE | LYD_DUP_WITH_PARENTS | LYD_DUP_WITH_FLAGS, &copy),
              model.Context(), "copy a part of the configuration");
    while (lyd_parent(copy) != nullptr) {
      copy = lyd_parent(copy);
    }
    lyd_node* all = tree.release();
    const LY_ERR result = lyd_merge_siblings(&all, copy, LYD_MERGE_DESTRUCT | LYD_MERGE_WITH_FLAGS);
    tree.reset(all);
    CheckYang(result, model.Context(), "gather parts of the configuration");
  }
  return tree;
}

// The containers at the top of the model stay even when they are empty: without
// them an empty configuration would be no document that can be loaded again.
std::string Print(const Model& model, const lyd_node* top, cfm::agent::Format format,
                  bool with_defaults) {
  char* text = nullptr;
  const std::uint32_t options = LYD_PRINT_WITHSIBLINGS | LYD_PRINT_KEEPEMPTYCONT |
                                (with_defaults ? LYD_PRINT_WD_ALL : LYD_PRINT_WD_EXPLICIT);
  CheckYang(
      lyd_print_mem(&text, top, format == cfm::agent::FORMAT_XML ? LYD_XML : LYD_JSON, options),
      model.Context(), "print a configuration");
  const std::unique_ptr<char, decltype(&std::free)> owner(text, &std::free);
  return text != nullptr ? text : "";
}

}  // namespace

Problems Render(const Model& model, const lyd_node* top, const cfm::agent::Get& request,
                cfm::agent::Reply& reply) {
  InstancePath path;
  if (!request.path().empty()) {
    auto parsed = ParsePath(model, request.path());
    if (!parsed) {
      return parsed.Why();
    }
    path = std::move(*parsed);
  }
  const auto nodes = Select(top, path);
  if (nodes.empty() && !path.empty() && Select(top, {path.begin(), path.end() - 1}).empty()) {
    return {{.message = "there is nothing", .path = TextOf(path), .rule = "data-missing"}};
  }
  switch (request.format()) {
    case cfm::agent::FORMAT_TREE:
      FillTree(nodes, path, request.with_defaults(), *reply.mutable_node());
      return {};
    case cfm::agent::FORMAT_XML:
    case cfm::agent::FORMAT_JSON: {
      const Tree part = path.empty() ? Tree() : Extract(model, nodes);
      reply.set_document(
          Print(model, path.empty() ? top : part.get(), request.format(), request.with_defaults()));
      return {};
    }
    default:
      return {{.message = "a format is XML, JSON or TREE"}};
  }
}

}  // namespace agentd
