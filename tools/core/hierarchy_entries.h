// The configuration hierarchy as entries of named fields, so that showing it
// (in three formats) and comparing two of them need not know its records.
#ifndef TOOLS_CORE_HIERARCHY_ENTRIES_H
#define TOOLS_CORE_HIERARCHY_ENTRIES_H

#include <string>
#include <string_view>
#include <vector>

#include "cfm/hierarchy.h"

namespace cfmctl {

struct Field {
  enum class Kind { kText, kNumber, kBoolean, kNumberList };

  std::string_view name;
  Kind kind = Kind::kNumber;
  std::vector<std::string> values;  // one, except for a list
  std::string_view meaning;         // of the number, for people; may be empty

  bool HasValueOf(const Field& other) const { return values == other.values; }
};

// One MD, MA or MEP. The first field is its name or id, which tells it from
// its siblings.
struct Entry {
  std::string_view kind;  // "md", "ma", "mep"
  std::vector<Field> fields;
  std::vector<Entry> children;

  const std::string& Key() const { return fields.front().values.front(); }
};

// Every field of every node; children by key, ascending.
std::vector<Entry> ToEntries(const cfm::Hierarchy& hierarchy);

}  // namespace cfmctl

#endif
