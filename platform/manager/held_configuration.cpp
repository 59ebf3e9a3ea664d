#include "held_configuration.h"

#include <fmt/format.h>

#include <utility>

namespace cfm {
namespace {

std::string CountText(const char* kind, std::size_t count, const NodeChanges& changes) {
  return fmt::format("{} {} (+{} -{} ~{})", count, kind, changes.added, changes.removed,
                     changes.changed);
}

}  // namespace

HeldConfiguration::HeldConfiguration(Interfaces interfaces) : interfaces_(std::move(interfaces)) {}

HierarchyChanges HeldConfiguration::Replace(std::uint64_t number, Hierarchy hierarchy) {
  std::vector<std::string> warnings = FindMepsWithoutInterface(hierarchy, interfaces_());
  const HierarchyChanges changes = CompareHierarchies(hierarchy_, hierarchy);
  number_ = number;
  hierarchy_ = std::move(hierarchy);
  warnings_ = std::move(warnings);
  return changes;
}

std::string AppliedText(const HeldConfiguration& held, const HierarchyChanges& changes) {
  const HierarchySize size = CountNodes(held.Get());
  std::string text = fmt::format(
      "configuration {}: {}, {}, {}", held.Number(), CountText("MDs", size.mds, changes.mds),
      CountText("MAs", size.mas, changes.mas), CountText("MEPs", size.meps, changes.meps));
  if (!held.Warnings().empty()) {
    text += fmt::format("; {} warning(s), the first: {}", held.Warnings().size(),
                        held.Warnings().front());
  }
  return text;
}

}  // namespace cfm
