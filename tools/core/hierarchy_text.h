// The hierarchy that the CFM manager holds, written for people and programs.
#ifndef TOOLS_CORE_HIERARCHY_TEXT_H
#define TOOLS_CORE_HIERARCHY_TEXT_H

#include <string>
#include <vector>

#include "hierarchy_entries.h"

namespace cfmctl {

// One line per field, each entry indented below its parent, numbers with
// their meaning.
std::string ToListing(const std::vector<Entry>& entries);
// {"md": [{"name": ..., "ma": [...]}]}: the numbers as the manager has them.
std::string ToJson(const std::vector<Entry>& entries);
// <hierarchy><md><name>...</name><ma>...</ma></md></hierarchy>; a list has one
// element per value.
std::string ToXml(const std::vector<Entry>& entries);

}  // namespace cfmctl

#endif
