// Edits on their way to the agent.
#ifndef TOOLS_COMMANDS_SUBMISSION_H
#define TOOLS_COMMANDS_SUBMISSION_H

#include <string>
#include <vector>

#include "agent.pb.h"
#include "core/edits.h"
#include "environment.h"

namespace cfmctl {

// A document of a file as an edit. `file` "-" is standard input; an empty
// `format` is guessed. Throws Failure kUsage.
cfm::agent::EditOperation DocumentOperation(const Environment& environment, const std::string& file,
                                            const std::string& format, bool replace);

// Sends the edit, all or nothing, and says what came of it. Throws Failure.
void Submit(const Environment& environment, const cfm::agent::Edit& edit);
void Submit(const Environment& environment, const std::vector<Edit>& edits, bool candidate);

}  // namespace cfmctl

#endif
