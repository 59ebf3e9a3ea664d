// Status and statistics of MEPs, shown.
#ifndef TOOLS_COMMANDS_SHOW_STATUS_H
#define TOOLS_COMMANDS_SHOW_STATUS_H

#include <string>

#include "core/status_records.h"
#include "environment.h"

namespace cfmctl {

// `format` is one of kViewFormats. Warnings of the agent, such as of leaves
// that nobody answers, are printed, and then it ends with kIncomplete. Throws
// Failure.
void ShowStatus(const Environment& environment, StatusView view, const MepSelection& selection,
                const std::string& format);

}  // namespace cfmctl

#endif
