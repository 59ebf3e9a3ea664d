// Files that commands read; "-" is standard input.
#ifndef TOOLS_COMMANDS_INPUT_FILE_H
#define TOOLS_COMMANDS_INPUT_FILE_H

#include <string>

#include "environment.h"

namespace cfmctl {

// How messages call the file.
std::string InputName(const std::string& file);
// The whole content. Throws Failure kUsage naming file and cause.
std::string ReadInput(const Environment& environment, const std::string& file);

}  // namespace cfmctl

#endif
