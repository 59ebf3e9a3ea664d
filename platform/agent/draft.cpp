#include "draft.h"

#include <utility>

#include "nodes.h"
#include "validation.h"

namespace agentd {
namespace {

std::vector<std::string> KeysFrom(const lyd_node& entry) {
  std::vector<std::string> keys;
  for (const lyd_node* key = lyd_child(&entry); key != nullptr && IsKey(*key->schema);
       key = key->next) {
    keys.emplace_back(lyd_get_value(key));
  }
  return keys;
}

lyd_node* FirstWithoutKeys(lyd_node* entry) {
  return lyd_child_no_keys(entry);
}

// Everything but the keys of one entry takes the place of that of another.
void MoveContent(lyd_node* from, lyd_node* to) {
  while (lyd_node* old = FirstWithoutKeys(to)) {
    lyd_free_tree(old);
  }
  while (lyd_node* node = FirstWithoutKeys(from)) {
    CheckYang(lyd_insert_child(to, node), LYD_CTX(to), "put a part in its place");
  }
}

}  // namespace

Draft::Draft(const Model& model, SnapshotPtr base)
    : model_(&model), base_(std::move(base)), is_whole_(model.WayToParts().empty()) {
  tree_ = is_whole_ ? CopyTree(base_->Top()) : Frame();
}

Draft::Draft(const Model* model, SnapshotPtr base, Tree tree, std::set<Keys> parts, bool is_whole)
    : model_(model),
      base_(std::move(base)),
      tree_(std::move(tree)),
      parts_(std::move(parts)),
      is_whole_(is_whole) {}

Draft Draft::Copy() const {
  return Draft(model_, base_, CopyTree(tree_.get()), parts_, is_whole_);
}

Tree Draft::Frame() const {
  InstancePath above = PathTo({});
  above.pop_back();
  Tree frame;
  const lyd_node* original = nullptr;
  lyd_node* copy = nullptr;
  for (const PathStep& step : above) {
    original = FindChild(base_->Top(), original, step);
    CheckYang(lyd_dup_single(original, reinterpret_cast<lyd_node_inner*>(copy), LYD_DUP_WITH_FLAGS,
                             &copy),
              model_->Context(), "copy a container");
    if (frame == nullptr) {
      frame.reset(copy);
    }
  }
  return frame;
}

InstancePath Draft::PathTo(const Keys& keys) const {
  InstancePath path;
  for (const lysc_node* schema : model_->WayToParts()) {
    path.push_back({schema, {}, {}, false});
  }
  path.back().keys = keys;
  return path;
}

void Draft::CopyInto(lyd_node* parent, const lyd_node* part) {
  CheckYang(lyd_dup_single(part, reinterpret_cast<lyd_node_inner*>(parent),
                           LYD_DUP_RECURSIVE | LYD_DUP_WITH_FLAGS, nullptr),
            LYD_CTX(part), "copy a part of the configuration");
}

void Draft::TakePart(const Keys& keys) {
  if (is_whole_ || !parts_.insert(keys).second) {
    return;
  }
  InstancePath path = PathTo(keys);
  const lyd_node* part = Find(base_->Top(), path);
  path.pop_back();
  if (part != nullptr) {
    CopyInto(Find(tree_.get(), path), part);
  }
}

void Draft::TakeAll() {
  if (!is_whole_) {
    tree_ = Complete();
    is_whole_ = true;
    parts_.clear();
  }
}

void Draft::Take(const InstancePath& path) {
  const auto& way = model_->WayToParts();
  const bool is_in_a_part = !way.empty() && path.size() >= way.size() &&
                            path[way.size() - 1].schema == way.back() &&
                            !path[way.size() - 1].keys.empty();
  if (is_in_a_part) {
    TakePart(path[way.size() - 1].keys);
  } else {
    TakeAll();
  }
}

void Draft::TakeWhatIsIn(const lyd_node* document) {
  TakeAlong(0, document);
}

void Draft::TakeAlong(std::size_t depth, const lyd_node* siblings) {
  const auto& way = model_->WayToParts();
  for (const lyd_node* node = siblings; node != nullptr && !is_whole_; node = node->next) {
    if (node->schema != way[depth]) {
      TakeAll();
    } else if (depth + 1 == way.size()) {
      TakePart(KeysFrom(*node));
    } else {
      TakeAlong(depth + 1, lyd_child(node));
    }
  }
}

void Draft::Replace(Tree tree) {
  tree_ = std::move(tree);
  parts_.clear();
  is_whole_ = true;
}

Tree Draft::Before() const {
  if (is_whole_) {
    return CopyTree(base_->Top());
  }
  Draft before(*model_, base_);
  for (const Keys& keys : parts_) {
    before.TakePart(keys);
  }
  AddImplicitNodes(*model_, before.tree_);
  return std::move(before.tree_);
}

Tree Draft::Complete() const {
  if (is_whole_) {
    return CopyTree(tree_.get());
  }
  Tree tree = CopyTree(base_->Top());
  Copy().MoveInto(tree);
  return tree;
}

void Draft::MoveInto(Tree& tree) && {
  if (is_whole_) {
    tree = std::move(tree_);
    return;
  }
  InstancePath way = PathTo({});
  way.pop_back();
  lyd_node* parent = Find(tree.get(), way);
  bool has_new = false;
  for (const Keys& keys : parts_) {
    const InstancePath path = PathTo(keys);
    lyd_node* part = Find(tree_.get(), path);
    lyd_node* old = FindChild(tree.get(), parent, path.back());
    if (part == nullptr && old != nullptr) {
      Remove(tree, old);
    } else if (part != nullptr && old != nullptr) {
      MoveContent(part, old);
    } else if (part != nullptr) {
      lyd_unlink_tree(part);
      Insert(tree, parent, part);
      has_new = true;
    }
  }
  if (has_new) {
    SortChildren(parent);
  }
}

}  // namespace agentd
