#include "nodes.h"

#include <algorithm>
#include <array>

#include "values.h"

namespace agentd {
namespace {

// Most keys of one list; the ConfD API has the same limit.
constexpr std::size_t kMaxKeys = 9;

// lyd_new_list takes its keys as variable arguments and reads as many as the
// list has; quotes in them are no matter, as they would be in a predicate.
lyd_node* NewEntry(lyd_node* parent, const PathStep& step) {
  std::array<const char*, kMaxKeys> k{};
  for (std::size_t i = 0; i < std::min(step.keys.size(), kMaxKeys); ++i) {
    k[i] = step.keys[i].c_str();
  }
  lyd_node* entry = nullptr;
  CheckYang(lyd_new_list(parent, step.schema->module, step.schema->name, 0, &entry, k[0], k[1],
                         k[2], k[3], k[4], k[5], k[6], k[7], k[8]),
            step.schema->module->ctx, "make a list entry");
  return entry;
}

// A list entry is found by an entry with the same keys, which needs a parent
// of the right kind to be made in.
lyd_node* FindEntry(const lyd_node* siblings, const lyd_node* parent, const PathStep& step) {
  lyd_node* scratch = nullptr;
  if (parent != nullptr) {
    CheckYang(lyd_dup_single(parent, nullptr, LYD_DUP_NO_META, &scratch), LYD_CTX(parent),
              "make a scratch node");
  }
  lyd_node* sample = NewEntry(scratch, step);
  const Tree owner(scratch != nullptr ? scratch : sample);
  lyd_node* match = nullptr;
  lyd_find_sibling_first(siblings, sample, &match);
  return match;
}

lyd_node* NewNode(lyd_node* parent, const PathStep& step, const char* value) {
  const lysc_node& schema = *step.schema;
  if (schema.nodetype == LYS_LIST) {
    return NewEntry(parent, step);
  }
  lyd_node* node = nullptr;
  if (schema.nodetype == LYS_CONTAINER) {
    CheckYang(lyd_new_inner(parent, schema.module, schema.name, 0, &node), schema.module->ctx,
              "make a container");
  } else {
    const char* text = schema.nodetype == LYS_LEAFLIST ? step.keys.front().c_str() : value;
    CheckYang(lyd_new_term(parent, schema.module, schema.name, text, 0, &node), schema.module->ctx,
              "make a leaf");
  }
  return node;
}

void AdoptTopLevel(Tree& tree, lyd_node* node) {
  lyd_node* first = tree.release();
  lyd_insert_sibling(first, node, &first);
  tree.reset(first);
}

// Siblings of one schema node that follow each other, from `first` on.
std::vector<lyd_node*> Run(lyd_node* first) {
  std::vector<lyd_node*> run;
  for (lyd_node* node = first; node != nullptr && node->schema == first->schema;
       node = node->next) {
    run.push_back(node);
  }
  return run;
}

void Sort(lyd_node* parent, std::vector<lyd_node*>& run) {
  const auto before = [](const lyd_node* a, const lyd_node* b) {
    return CompareInstances(*a, *b) < 0;
  };
  if (std::is_sorted(run.begin(), run.end(), before)) {
    return;
  }
  std::stable_sort(run.begin(), run.end(), before);
  for (lyd_node* node : run) {
    lyd_unlink_tree(node);
  }
  for (lyd_node* node : run) {
    lyd_insert_child(parent, node);
  }
}

void SortBelow(lyd_node* parent) {
  SortChildren(parent);
  for (lyd_node* node = lyd_child(parent); node != nullptr; node = node->next) {
    SortBelow(node);
  }
}

}  // namespace

void SortChildren(lyd_node* parent) {
  lyd_node* next = nullptr;
  for (lyd_node* node = lyd_child(parent); node != nullptr; node = next) {
    if ((node->schema->nodetype & (LYS_LIST | LYS_LEAFLIST)) != 0) {
      auto run = Run(node);
      next = run.back()->next;
      Sort(parent, run);
    } else {
      next = node->next;
    }
  }
}

lyd_node* FindChild(const lyd_node* top, const lyd_node* parent, const PathStep& step) {
  const lyd_node* siblings = parent != nullptr ? lyd_child(parent) : top;
  const bool needs_keys = (step.schema->nodetype & (LYS_LIST | LYS_LEAFLIST)) != 0;
  if (siblings == nullptr || step.impossible || (needs_keys && step.keys.empty())) {
    return nullptr;
  }
  if (step.schema->nodetype == LYS_LIST) {
    return FindEntry(siblings, parent, step);
  }
  lyd_node* match = nullptr;
  const std::string element = step.keys.empty() ? "" : step.keys.front();
  lyd_find_sibling_val(siblings, step.schema, needs_keys ? element.c_str() : nullptr,
                       element.size(), &match);
  return match;
}

lyd_node* Find(const lyd_node* top, const InstancePath& path) {
  lyd_node* node = nullptr;
  for (const PathStep& step : path) {
    node = FindChild(top, node, step);
    if (node == nullptr) {
      return nullptr;
    }
  }
  return node;
}

lyd_node* Make(Tree& tree, lyd_node* parent, const PathStep& step, const char* value) {
  lyd_node* node = NewNode(parent, step, value);
  if (parent == nullptr) {
    AdoptTopLevel(tree, node);
  }
  return node;
}

lyd_node* FindOrMake(Tree& tree, const InstancePath& path, const char* value) {
  lyd_node* node = nullptr;
  for (const PathStep& step : path) {
    lyd_node* child = FindChild(tree.get(), node, step);
    node = child != nullptr ? child : Make(tree, node, step, value);
  }
  return node;
}

void Remove(Tree& tree, lyd_node* node) {
  if (node == tree.get()) {
    static_cast<void>(tree.release());
    tree.reset(node->next);
  }
  lyd_free_tree(node);
}

void Insert(Tree& tree, lyd_node* parent, lyd_node* node) {
  if (parent == nullptr) {
    AdoptTopLevel(tree, node);
  } else {
    CheckYang(lyd_insert_child(parent, node), LYD_CTX(parent), "insert a subtree");
  }
}

void SortInstances(const Tree& tree) {
  for (lyd_node* node = tree.get(); node != nullptr; node = node->next) {
    SortBelow(node);
  }
}

}  // namespace agentd
