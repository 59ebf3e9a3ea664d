#include "held_configuration.h"

#include <fmt/format.h>

#include <utility>

#include "frame.h"
#include "hierarchy_codec.h"
#include "manager.pb.h"
#include "node_name.h"

namespace cfm {
namespace {

std::string CountText(const char* kind, std::size_t count, const NodeChanges& changes) {
  return fmt::format("{} {} (+{} -{} ~{})", count, kind, changes.added, changes.removed,
                     changes.changed);
}

}  // namespace

HeldConfiguration::HeldConfiguration(Interfaces interfaces) : interfaces_(std::move(interfaces)) {}

Replacement HeldConfiguration::Replace(const manager::Configuration& configuration) {
  Encoded encoded;
  std::set<std::string> names;
  Hierarchy after;  // of the MDs that changed
  Hierarchy before;
  Replacement result;
  for (const std::string& bytes : configuration.mds()) {
    std::string name;
    if (const auto known = encoded_.find(bytes); known != encoded_.end()) {
      name = known->second;
    } else {
      auto node = DecodeMd(bytes);
      name = node.first;
      after.insert(std::move(node));
    }
    if (!names.insert(name).second) {
      throw ipc::ProtocolError(MdText(name) + " is there twice");
    }
    encoded.emplace(bytes, std::move(name));
  }
  for (auto next = hierarchy_.begin(); next != hierarchy_.end();) {
    const auto md = next++;
    if (after.contains(md->first) || !names.contains(md->first)) {
      before.insert(hierarchy_.extract(md));
    }
  }
  result.changes = CompareHierarchies(before, after);
  for (const Hierarchy* part : {&before, &after}) {
    for (const auto& [name, md] : *part) {
      result.mds.insert(name);
    }
  }
  hierarchy_.merge(after);
  encoded_ = std::move(encoded);
  number_ = configuration.number();
  warnings_ = FindMepsWithoutInterface(hierarchy_, interfaces_());
  return result;
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
