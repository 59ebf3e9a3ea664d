#include "unprovided.h"

#include <map>
#include <set>

#include "omissions.h"
#include "utf8.h"

namespace agentd {
namespace {

bool IsIn(const lysc_node* node, const lysc_node* outer) {
  while (node != nullptr && node != outer) {
    node = node->parent;
  }
  return node != nullptr;
}

bool IsOnTheWay(const lysc_node& list, const InstancePath& path) {
  return path.empty() || IsIn(&list, path.back().schema) || IsIn(path.back().schema, &list);
}

using Lists = std::set<const lysc_node*>;

// Lists on the way, by why nobody answers for leaves of their entries.
std::map<std::string, Lists> Causes(const Providers& providers, const ProviderModel& model,
                                    const InstancePath& path) {
  std::map<std::string, Lists> causes;
  for (const lysc_node* list : model.Lists()) {
    if (!IsOnTheWay(*list, path)) {
      continue;
    }
    for (const ComputedLeaf& leaf : model.LeavesOf(*list)) {
      if (!providers.AnswersCallpoint(leaf.callpoint)) {
        causes[providers.AbsenceOfCallpoint(leaf.callpoint)].insert(list);
      }
    }
  }
  return causes;
}

}  // namespace

std::vector<std::string> WarningsOfUnprovided(const Providers& providers,
                                              const ProviderModel& model,
                                              const OperationalStore& store,
                                              const InstancePath& path, const ReadScope& scope) {
  std::vector<std::string> warnings;
  for (const auto& [cause, lists] : Causes(providers, model, path)) {
    std::size_t shown = 0;
    for (const EntryPtr& entry : EntriesBelow(store.Top(), path)) {
      shown += lists.contains(&entry->Schema()) && scope.Admits(*entry) ? 1 : 0;
    }
    warnings.push_back(WellFormed(
        cause + (shown > 0 ? ": shown as it was left: " + CountOf(shown) : ": nothing is shown")));
  }
  return warnings;
}

}  // namespace agentd
