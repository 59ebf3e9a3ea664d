// Paths and edits of the command line.
#ifndef TOOLS_COMMANDS_PATH_ARGUMENT_H
#define TOOLS_COMMANDS_PATH_ARGUMENT_H

#include <optional>
#include <string>
#include <vector>

#include "core/edits.h"
#include "core/path.h"

namespace cfmctl {

// As ParsePath and ParseEdits, but they throw Failure kUsage.
Path PathArgument(const std::string& text);
std::vector<Edit> EditArguments(const std::vector<std::string>& words,
                                std::optional<EditKind> first = std::nullopt);

// What Get is asked for: nothing stands for everything.
std::string GetPath(const Path& path);

// For the help of commands that take paths.
inline constexpr const char* kPathHelp =
    "A PATH is md{NAME}/ma{NAME}/mep{ID}/... or /config/oam/cfm/md[id='NAME']/...";

}  // namespace cfmctl

#endif
