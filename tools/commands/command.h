// The commands of cfmctl.
#ifndef TOOLS_COMMANDS_COMMAND_H
#define TOOLS_COMMANDS_COMMAND_H

#include <span>
#include <string_view>

#include "environment.h"

namespace CLI {
class App;
}

namespace cfmctl {

// What the words behind a command are, for the shell's completion.
enum class WordKind { kNone, kPath, kAssignment, kEdit, kFile, kChoice, kMep, kChoiceAndMep };

struct Command {
  std::string_view name;
  std::string_view words;  // in the usage line
  WordKind word_kind;
  std::span<const std::string_view> choices;  // for kChoice and kChoiceAndMep
  // Adds description, options and examples, and what happens: a callback that
  // throws Failure when the command cannot be carried out.
  void (*add)(CLI::App& app, Environment& environment);
  // What --timeout is to it, with its default.
  const char* timeout = "Seconds to wait for an answer (60)";
};

inline bool IsHidden(const Command& command) {
  return command.name.starts_with("__");
}

std::span<const Command> Commands();

void AddClearStatistics(CLI::App& app, Environment& environment);
void AddCommit(CLI::App& app, Environment& environment);
void AddComplete(CLI::App& app, Environment& environment);
void AddCompletion(CLI::App& app, Environment& environment);
void AddDelete(CLI::App& app, Environment& environment);
void AddDiff(CLI::App& app, Environment& environment);
void AddDiscard(CLI::App& app, Environment& environment);
void AddEdit(CLI::App& app, Environment& environment);
void AddGet(CLI::App& app, Environment& environment);
void AddLoad(CLI::App& app, Environment& environment);
void AddSet(CLI::App& app, Environment& environment);
void AddShow(CLI::App& app, Environment& environment);
void AddStatus(CLI::App& app, Environment& environment);
void AddValidate(CLI::App& app, Environment& environment);
void AddVerify(CLI::App& app, Environment& environment);
void AddWatch(CLI::App& app, Environment& environment);

}  // namespace cfmctl

#endif
