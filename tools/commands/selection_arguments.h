// MD, MA and MEP as words of a command.
#ifndef TOOLS_COMMANDS_SELECTION_ARGUMENTS_H
#define TOOLS_COMMANDS_SELECTION_ARGUMENTS_H

#include "core/mep_name.h"

namespace CLI {
class App;
}

namespace cfmctl {

// The words [MD [MA [MEP]]]; `selection` has to live as long as the app.
void AddSelectionWords(CLI::App& app, MepSelection& selection);
// The same as options, each for itself.
void AddSelectionOptions(CLI::App& app, MepSelection& selection);

// For the help of commands that take them.
inline constexpr const char* kSelectionHelp =
    "An MD, an MA or a MEP that is not given stands for all. A local MEP comes with the\n"
    "remote MEPs that it sees.";

}  // namespace cfmctl

#endif
