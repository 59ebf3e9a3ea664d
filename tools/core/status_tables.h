// Status records as tables for people: local MEPs, then remote MEPs.
#ifndef TOOLS_CORE_STATUS_TABLES_H
#define TOOLS_CORE_STATUS_TABLES_H

#include <string>

#include "status_records.h"

namespace cfmctl {

// Sorted by MD, MA and MEP. "-" stands for a leaf that a record does not have,
// "" for an empty value. No records: no text.
std::string StatusTables(const StatusRecords& records, StatusView view);

// Names of the leaves that the tables show.
std::vector<std::string> TableLeaves(StatusView view);

}  // namespace cfmctl

#endif
