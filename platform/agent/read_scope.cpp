#include "read_scope.h"

#include <algorithm>

#include "operational_tree.h"

namespace agentd {
namespace {

using cfm::agent::EntryFilter;

// Names of the state leaves in lists of the model.
struct LeafNames {
  std::set<std::string> all;
  std::set<std::string> written;
};

void Gather(const lysc_node* siblings, bool in_list, const ProviderModel& providers,
            LeafNames& names) {
  for (const lysc_node* node = siblings; node != nullptr; node = node->next) {
    const bool is_leaf = (node->nodetype & LYD_NODE_TERM) != 0;
    if (is_leaf && in_list && (node->flags & LYS_CONFIG_R) != 0) {
      names.all.insert(node->name);
      if (!providers.IsComputed(*node)) {
        names.written.insert(node->name);
      }
    }
    Gather(lysc_node_child(node), in_list || node->nodetype == LYS_LIST, providers, names);
  }
}

LeafNames NamesOf(const Model& model, const ProviderModel& providers) {
  LeafNames names;
  for (const lysc_module* module : model.Modules()) {
    Gather(module->data, false, providers, names);
  }
  return names;
}

Problems Unknown(const std::string& leaf) {
  return {{.message = "get: no list of operational data has a leaf '" + leaf + "'"}};
}

Problems CheckFilters(const cfm::agent::Get& request, const LeafNames& names) {
  for (const EntryFilter& filter : request.filters()) {
    if (filter.leaves().empty()) {
      return {{.message = "get: a filter names no leaf"}};
    }
    for (const std::string& leaf : filter.leaves()) {
      if (!names.all.contains(leaf)) {
        return Unknown(leaf);
      }
      if (!names.written.contains(leaf)) {
        return {{.message = "get: a filter cannot ask for '" + leaf +
                            "', which is computed when it is read"}};
      }
    }
  }
  return {};
}

bool Passes(const OperationalEntry& entry, const EntryFilter& filter) {
  for (const lysc_node* leaf = lysc_node_child(&entry.Schema()); leaf != nullptr;
       leaf = leaf->next) {
    const auto& names = filter.leaves();
    if (std::find(names.begin(), names.end(), leaf->name) != names.end()) {
      const std::string* text = WrittenText(entry, *leaf);
      if (text != nullptr && *text == filter.value()) {
        return true;
      }
    }
  }
  return false;
}

}  // namespace

Result<ReadScope> ReadScope::Of(const Model& model, const ProviderModel& providers,
                                const cfm::agent::Get& request) {
  const LeafNames names = NamesOf(model, providers);
  for (const std::string& leaf : request.leaves()) {
    if (!names.all.contains(leaf)) {
      return Unknown(leaf);
    }
  }
  if (Problems problems = CheckFilters(request, names); !problems.empty()) {
    return problems;
  }
  ReadScope scope;
  scope.leaves_.insert(request.leaves().begin(), request.leaves().end());
  scope.filters_.assign(request.filters().begin(), request.filters().end());
  return scope;
}

bool ReadScope::Wants(const lysc_node& leaf) const {
  return leaves_.empty() || IsKey(leaf) || leaves_.contains(std::string_view(leaf.name));
}

bool ReadScope::Admits(const OperationalEntry& entry) const {
  return std::all_of(filters_.begin(), filters_.end(),
                     [&](const EntryFilter& filter) { return Passes(entry, filter); });
}

}  // namespace agentd
