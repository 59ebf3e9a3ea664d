// Checks of numbers on the command line that say what would be one.
#ifndef TOOLS_COMMANDS_VALIDATORS_H
#define TOOLS_COMMANDS_VALIDATORS_H

#include <CLI/CLI.hpp>
#include <string>

namespace cfmctl {

// Seconds from `least` to a day, fractions included.
CLI::Validator SecondsFrom(double least);
// A count of `what`, at least 1.
CLI::Validator CountOf(const std::string& what);
CLI::Validator MepId();

}  // namespace cfmctl

#endif
