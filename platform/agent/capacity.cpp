#include "capacity.h"

#include <set>

#include "instance_path.h"

namespace agentd {
namespace {

std::size_t CountBelow(const lyd_node* parent, const Capacity& capacity) {
  std::size_t count = 0;
  for (const lyd_node* node = lyd_child(parent); node != nullptr; node = node->next) {
    count += capacity.counted.contains(node->schema) ? 1 : 0;
    count += CountBelow(node, capacity);
  }
  return count;
}

void Count(const lyd_node* siblings, const Capacity& capacity, Usage& usage) {
  for (const lyd_node* node = siblings; node != nullptr; node = node->next) {
    if (node->schema == capacity.node) {
      usage[{&capacity, PathOf(*node)}] += CountBelow(node, capacity);
    } else {
      Count(lyd_child(node), capacity, usage);
    }
  }
}

std::string CountedNames(const Capacity& capacity) {
  std::set<std::string> names;
  for (const lysc_node* node : capacity.counted) {
    names.insert(node->name);
  }
  std::string text;
  for (const std::string& name : names) {
    text += (text.empty() ? "" : " and ") + name;
  }
  return text;
}

}  // namespace

Usage UsageOf(const Model& model, const lyd_node* top) {
  Usage usage;
  for (const Capacity& capacity : model.Capacities()) {
    Count(top, capacity, usage);
  }
  return usage;
}

Usage Changed(Usage all, const Usage& before, const Usage& after) {
  for (const auto& [where, count] : before) {
    all[where] -= count;
  }
  for (const auto& [where, count] : after) {
    all[where] += count;
  }
  std::erase_if(all, [](const auto& each) { return each.second == 0; });
  return all;
}

void CheckCapacities(const Usage& usage, Problems& problems) {
  for (const auto& [where, count] : usage) {
    const auto& [capacity, path] = where;
    if (count > capacity->limit) {
      problems.push_back(
          {.message = std::to_string(count) + " instances of " + CountedNames(*capacity) +
                      " are configured and there is room for " + std::to_string(capacity->limit),
           .path = path,
           .rule = "capacity " + std::to_string(capacity->limit)});
    }
  }
}

}  // namespace agentd
