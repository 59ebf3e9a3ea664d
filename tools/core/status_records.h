// The status records in what the agent answers, and what of them is shown.
#ifndef TOOLS_CORE_STATUS_RECORDS_H
#define TOOLS_CORE_STATUS_RECORDS_H

#include <string>
#include <vector>

#include "mep_name.h"
#include "tree.h"

namespace cfmctl {

// List entries "local" and "remote", in the order of the agent.
using StatusRecords = std::vector<TreeNode>;

// Of the MEPs that are selected. A record whose identity is not all written yet
// is selected only with everything.
bool IsSelected(const TreeNode& record, const MepSelection& selection);

// The records at and below `node` that are selected.
StatusRecords RecordsIn(const TreeNode& node, const MepSelection& selection);

// The two views of a record. Both have its identity.
enum class StatusView {
  kStatus,      // and all other leaves but the statistics
  kStatistics,  // and the statistics
};

// The records with the leaves of the view only; those that the model does not
// know are left out.
StatusRecords Narrowed(const StatusRecords& records, StatusView view);

// Names of the leaves of the view, of either kind of record.
std::vector<std::string> LeavesOf(StatusView view);

}  // namespace cfmctl

#endif
