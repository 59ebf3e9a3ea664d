#include "keypath.h"

#include <algorithm>

#include "typed_value.h"

namespace agentd {
namespace {

using cfm::agent::Keypath;

void AddNode(const Model& model, const lysc_node& node, Keypath& keypath) {
  keypath.add_elements()->set_tag(model.TagOf(node));
}

void AddKeys(const Model& model, const PathStep& step, Keypath& keypath) {
  auto& element = *keypath.add_elements();
  const auto keys = KeysOf(*step.schema);
  for (std::size_t i = 0; i < keys.size(); ++i) {
    *element.add_keys() = ValueOfCanonical(model, *keys[i], step.keys[i]);
  }
}

// Elements of a step: a list has one for the entry's keys.
std::uint32_t ElementsOf(const PathStep& step) {
  return step.schema->nodetype == LYS_LIST ? 2 : 1;
}

// How many elements from the top are the same for leaves of both entries. The
// list counts also where the entries differ.
std::uint32_t SharedElements(const OperationalEntry& left, const OperationalEntry& right) {
  std::uint32_t shared = 0;
  const auto [end, ignored] =
      std::mismatch(left.path.begin(), left.path.end(), right.path.begin(), right.path.end(),
                    [&](const PathStep& one, const PathStep& other) {
                      const bool is_same = one.schema == other.schema && one.keys == other.keys;
                      shared += is_same ? ElementsOf(one) : 0;
                      return is_same;
                    });
  const auto at = static_cast<std::size_t>(end - left.path.begin());
  const bool has_node =
      at < right.path.size() && end != left.path.end() && end->schema == right.path[at].schema;
  return shared + (has_node ? 1 : 0);
}

}  // namespace

Keypath KeypathOf(const Model& model, const OperationalEntry* before, const OperationalEntry& entry,
                  const lysc_node& leaf) {
  Keypath keypath;
  for (const lysc_node* node = &leaf; node != &entry.Schema(); node = node->parent) {
    AddNode(model, *node, keypath);
  }
  keypath.set_shared(before != nullptr ? SharedElements(*before, entry) : 0);
  std::uint32_t left = 0;  // of those at hand and above
  for (const PathStep& step : entry.path) {
    left += ElementsOf(step);
  }
  for (auto step = entry.path.rbegin(); step != entry.path.rend() && left > keypath.shared();
       ++step) {
    if (step->schema->nodetype == LYS_LIST) {
      AddKeys(model, *step, keypath);
      --left;
    }
    if (left-- > keypath.shared()) {
      AddNode(model, *step->schema, keypath);
    }
  }
  return keypath;
}

}  // namespace agentd
