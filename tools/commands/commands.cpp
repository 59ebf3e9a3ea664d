#include "choices.h"
#include "command.h"

namespace cfmctl {
namespace {

constexpr Command kCommands[] = {
    {"load", "FILE", WordKind::kFile, {}, AddLoad},
    {"get", "[PATH]", WordKind::kPath, {}, AddGet},
    {"set", "PATH [VALUE] [PATH [VALUE]]...", WordKind::kAssignment, {}, AddSet},
    {"delete", "PATH...", WordKind::kPath, {}, AddDelete},
    {"edit", "OPERATION PATH [VALUE] [[OPERATION] PATH [VALUE]]...", WordKind::kEdit, {}, AddEdit},
    {"validate", "[FILE]", WordKind::kFile, {}, AddValidate},
    {"commit", "", WordKind::kNone, {}, AddCommit},
    {"discard", "", WordKind::kNone, {}, AddDiscard},
    {"diff", "", WordKind::kNone, {}, AddDiff},
    {"status",
     "",
     WordKind::kNone,
     {},
     AddStatus,
     "Seconds that agent and manager each have to answer (2; with --wait 60)"},
    {"show", "manager|status|statistics [MD [MA [MEP]]]", WordKind::kChoiceAndMep, kShown, AddShow},
    {"watch", "[MD [MA [MEP]]]", WordKind::kMep, {}, AddWatch, "Seconds to watch (without limit)"},
    {"clear-statistics", "", WordKind::kNone, {}, AddClearStatistics},
    {"verify", "", WordKind::kNone, {}, AddVerify},
    {"completion", "bash|zsh", WordKind::kChoice, kShells, AddCompletion},
    {"__complete", "LINE CURRENT", WordKind::kNone, {}, AddComplete},
};

}  // namespace

std::span<const Command> Commands() {
  return kCommands;
}

}  // namespace cfmctl
