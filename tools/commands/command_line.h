// cfmctl as a function of its arguments.
#ifndef TOOLS_COMMANDS_COMMAND_LINE_H
#define TOOLS_COMMANDS_COMMAND_LINE_H

#include <istream>
#include <ostream>
#include <string>
#include <vector>

#include "core/failure.h"

namespace cfmctl {

// Carries out one command. `arguments` are without the program's name.
ExitStatus RunCommandLine(const std::vector<std::string>& arguments, std::istream& in,
                          std::ostream& out, std::ostream& err);

}  // namespace cfmctl

#endif
