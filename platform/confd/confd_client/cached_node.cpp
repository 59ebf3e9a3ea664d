#include "confd_client/cached_node.h"

#include <algorithm>

#include "confd_client/path_message.h"

namespace confd {

CachedNode* CachedList::Find(const Step& step) const {
  if (step.position) {
    const auto entry = by_position.find(*step.position);
    return entry == by_position.end() ? nullptr : entry->second;
  }
  const auto entry = by_key.find(IndexText(step.keys));
  return entry == by_key.end() ? nullptr : entry->second.get();
}

bool CachedList::Excludes(const Step& step) const {
  if (!size) {
    return false;
  }
  // An entry may be known by its key and not by its position.
  const std::size_t known = step.position ? by_position.size() : by_key.size();
  return known >= *size || (step.position && *step.position >= *size);
}

void CachedNode::Merge(const DataNode& piece, bool whole) {
  if (knows_everything_) {
    return;
  }
  data_ = &piece;
  if (whole || piece.coverage() == DataNode::EVERYTHING) {
    knows_own_nodes_ = knows_everything_ = true;
    is_expanded_ = false;
    children_.clear();
    lists_.clear();
    return;
  }
  knows_own_nodes_ = knows_own_nodes_ || piece.coverage() == DataNode::OWN_NODES ||
                     piece.coverage() == DataNode::SOME_ENTRIES;
  for (const auto& list : piece.list_sizes()) {
    ListOf(list.name()).size = list.entries();
  }
  for (const DataNode& child : piece.children()) {
    AddChild(child, false);
  }
}

void CachedNode::Expand() {
  if (is_expanded_) {
    return;
  }
  is_expanded_ = true;
  for (const DataNode& child : data_->children()) {
    AddChild(child, true);
  }
  for (auto& [name, list] : lists_) {
    list.size = static_cast<std::uint32_t>(list.by_key.size());
  }
}

void CachedNode::AddChild(const DataNode& piece, bool whole) {
  if (piece.keys_size() > 0) {
    AddEntry(piece, whole);
    return;
  }
  const auto known = std::ranges::find(children_, piece.name(), &Child::name);
  if (known != children_.end()) {
    NodeOf(*known).Merge(piece, whole);
    return;
  }
  children_.push_back({piece.name(), &piece, whole, nullptr});
  if (!whole) {
    NodeOf(children_.back());
  }
}

void CachedNode::AddEntry(const DataNode& entry, bool whole) {
  CachedList& list = ListOf(entry.name());
  auto& node = list.by_key[IndexText(entry.keys())];
  if (node == nullptr) {
    node = std::make_unique<CachedNode>();
  }
  node->Merge(entry, whole);
  // An entry that came by its key stands without its siblings, and so without
  // a position.
  if (whole || entry.coverage() == DataNode::EVERYTHING) {
    list.by_position[entry.position()] = node.get();
  }
}

CachedNode& CachedNode::NodeOf(Child& child) {
  if (child.node == nullptr) {
    child.node = std::make_unique<CachedNode>();
    child.node->Merge(*child.piece, child.whole);
  }
  return *child.node;
}

CachedList& CachedNode::ListOf(std::string_view name) {
  const auto list =
      std::ranges::find(lists_, name, &std::pair<std::string_view, CachedList>::first);
  return list != lists_.end() ? list->second : lists_.emplace_back(name, CachedList()).second;
}

CachedNode* CachedNode::FindNode(std::string_view name) {
  Expand();
  const auto child = std::ranges::find(children_, name, &Child::name);
  return child == children_.end() ? nullptr : &NodeOf(*child);
}

const CachedList* CachedNode::FindList(std::string_view name) {
  Expand();
  const auto list =
      std::ranges::find(lists_, name, &std::pair<std::string_view, CachedList>::first);
  return list == lists_.end() ? nullptr : &list->second;
}

}  // namespace confd
