#include "snapshot.h"

namespace agentd {

const std::vector<const lyd_node*>& Snapshot::Entries(const lyd_node* parent,
                                                      const lysc_node& list) const {
  Lists& lists = entries_[parent];
  const auto [found, is_new] = lists.try_emplace(&list);
  if (is_new) {
    const lyd_node* node = parent != nullptr ? lyd_child(parent) : tree_.get();
    for (; node != nullptr; node = node->next) {
      if (node->schema == &list) {
        found->second.push_back(node);
      }
    }
  }
  return found->second;
}

}  // namespace agentd
