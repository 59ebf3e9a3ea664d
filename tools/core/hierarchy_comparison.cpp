#include "hierarchy_comparison.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <map>

#include "escape.h"
#include "hierarchy_entries.h"
#include "path.h"

namespace cfmctl {
namespace {

// The same hierarchy with every VLAN list in one order.
std::vector<Entry> Canonical(cfm::Hierarchy hierarchy) {
  for (auto& [md_name, md] : hierarchy) {
    for (auto& [ma_name, ma] : md.mas) {
      std::vector<std::uint16_t>& vlans = ma.association.vlan_list;
      if (!vlans.empty()) {
        std::sort(vlans.begin() + 1, vlans.end());
      }
    }
  }
  return ToEntries(hierarchy);
}

std::string Place(const std::string& parent, const Entry& entry) {
  const std::string step = ToShortStep({std::string(entry.kind), entry.Key()});
  return parent.empty() ? step : parent + '/' + step;
}

std::string ValueText(const Field& field) {
  const std::string value = fmt::format("{}", fmt::join(field.values, " "));
  if (value.empty()) {
    return field.kind == Field::Kind::kText ? "\"\"" : "none";
  }
  return field.meaning.empty() ? value : fmt::format("{} ({})", value, field.meaning);
}

void CompareEntries(const std::string& parent, const std::vector<Entry>& expected,
                    const std::vector<Entry>& held, std::vector<Difference>& differences);

void CompareEntry(const std::string& place, const Entry& expected, const Entry& held,
                  std::vector<Difference>& differences) {
  for (std::size_t i = 0; i < expected.fields.size(); ++i) {
    if (!expected.fields[i].HasValueOf(held.fields[i])) {
      differences.push_back({place, std::string(expected.fields[i].name),
                             ValueText(expected.fields[i]), ValueText(held.fields[i])});
    }
  }
  CompareEntries(place, expected.children, held.children, differences);
}

void CompareEntries(const std::string& parent, const std::vector<Entry>& expected,
                    const std::vector<Entry>& held, std::vector<Difference>& differences) {
  std::map<std::string, const Entry*> held_by_key;
  for (const Entry& entry : held) {
    held_by_key.emplace(entry.Key(), &entry);
  }
  for (const Entry& entry : expected) {
    const auto counterpart = held_by_key.find(entry.Key());
    if (counterpart == held_by_key.end()) {
      differences.push_back({Place(parent, entry), "", "present", ""});
      continue;
    }
    CompareEntry(Place(parent, entry), entry, *counterpart->second, differences);
    held_by_key.erase(counterpart);
  }
  for (const Entry& entry : held) {
    if (held_by_key.contains(entry.Key())) {
      differences.push_back({Place(parent, entry), "", "", "present"});
    }
  }
}

}  // namespace

std::vector<Difference> Compare(const cfm::Hierarchy& expected, const cfm::Hierarchy& held) {
  std::vector<Difference> differences;
  CompareEntries("", Canonical(expected), Canonical(held), differences);
  return differences;
}

std::string ToText(const Difference& difference) {
  if (difference.held.empty()) {
    return Printable(
        fmt::format("{}: is committed, but the manager does not have it", difference.where));
  }
  if (difference.expected.empty()) {
    return Printable(
        fmt::format("{}: the manager has it, but it is not committed", difference.where));
  }
  return Printable(fmt::format("{}: {} is {}, expected {}", difference.where, difference.field,
                               difference.held, difference.expected));
}

}  // namespace cfmctl
