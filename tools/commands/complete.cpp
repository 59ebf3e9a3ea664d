// The hidden command that the completion scripts ask. It prints one candidate
// per line and is silent about everything that fails.
#include <fmt/ostream.h>

#include <algorithm>
#include <map>
#include <memory>

#include "choices.h"
#include "command.h"
#include "completion_scripts.h"
#include "configuration.h"
#include "core/edits.h"
#include "core/failure.h"
#include "core/mep_completion.h"
#include "core/path.h"
#include "core/path_completion.h"
#include "core/status_condition.h"
#include "core/words.h"

namespace cfmctl {
namespace {

using Candidates = std::vector<std::string>;  // a blank at the end: the word is whole

constexpr double kPatienceSeconds = 2;
constexpr std::string_view kOperations[] = {"merge", "replace", "create", "delete", "remove"};

Candidates WholeWords(const auto& words) {
  Candidates candidates;
  for (const auto& word : words) {
    candidates.push_back(std::string(word) + ' ');
  }
  return candidates;
}

// The container /config/oam/cfm of the agent; empty when there is none.
TreeNode Configuration(const Environment& environment) {
  try {
    return ReadConfiguration(environment);
  } catch (const Failure&) {
    return {};
  }
}

// Whether the next word is the value of `path`.
bool AwaitsValue(const std::string& path, EditKind kind) {
  if (kind == EditKind::kDelete || kind == EditKind::kRemove) {
    return false;
  }
  try {
    const Path parsed = ParsePath(path);
    const bool is_element = !parsed.steps.empty() && parsed.steps.back().key.has_value();
    return TakesValue(*parsed.node) && !is_element;
  } catch (const PathError&) {
    return false;
  }
}

// Words of "set" or "edit": values where a path before awaits one.
Candidates EditCandidates(const Environment& environment, const std::vector<std::string>& before,
                          const std::string& current, bool with_operations) {
  EditKind kind = EditKind::kMerge;
  for (auto word = before.begin(); word != before.end(); ++word) {
    if (const auto next = ParseEditKind(*word)) {
      kind = *next;
    } else if (AwaitsValue(*word, kind) && ++word == before.end()) {
      return WholeWords(CompleteValue(before.back()));
    }
  }
  Candidates candidates = CompletePath(current, Configuration(environment));
  if (with_operations) {
    const Candidates operations = WholeWords(kOperations);
    candidates.insert(candidates.end(), operations.begin(), operations.end());
  }
  return candidates;
}

// The next of the words MD, MA, MEP.
Candidates MepCandidates(const Environment& environment, std::span<const std::string> before) {
  const TreeNode cfm = Configuration(environment);
  switch (before.size()) {
    case 0:
      return WholeWords(MdNames(cfm));
    case 1:
      return WholeWords(MaNames(cfm, {before[0], {}, {}}));
    case 2:
      return WholeWords(MepIds(cfm, {before[0], before[1], {}}));
    default:
      return {};
  }
}

Candidates WordCandidates(const Environment& environment, const Command& command,
                          const std::vector<std::string>& before, const std::string& current) {
  switch (command.word_kind) {
    case WordKind::kNone:
      return {};
    case WordKind::kPath:
      return CompletePath(current, Configuration(environment));
    case WordKind::kAssignment:
      return EditCandidates(environment, before, current, false);
    case WordKind::kEdit:
      return EditCandidates(environment, before, current, true);
    case WordKind::kFile:
      return {std::string(kFileCandidates)};
    case WordKind::kChoice:
      return before.empty() ? WholeWords(command.choices) : Candidates{};
    case WordKind::kMep:
      return MepCandidates(environment, before);
    case WordKind::kChoiceAndMep:
      return before.empty() ? WholeWords(command.choices)
                            : MepCandidates(environment, std::span(before).subspan(1));
  }
  return {};
}

Candidates OptionCandidates(const CLI::App& app) {
  Candidates candidates;
  for (const CLI::Option* option : app.get_options()) {
    for (const std::string& name : option->get_lnames()) {
      candidates.push_back("--" + name + ' ');
    }
  }
  return candidates;
}

const CLI::Option* FindOption(const CLI::App& app, const std::string& word) {
  return word.starts_with("--") ? app.get_option_no_throw(word) : nullptr;
}

bool HasValue(const CLI::Option& option) {
  return option.get_items_expected_max() > 0;
}

// What precedes the word that is being completed.
struct Situation {
  const Command* command = nullptr;
  const CLI::App* app = nullptr;              // of the command, else the main one
  std::string option;                         // that awaits its value; may be empty
  std::vector<std::string> words;             // of the command, without options
  std::map<std::string, std::string> values;  // of the options that have theirs
};

// The MD and MA that options before have named.
MepSelection SelectionBefore(const Situation& now) {
  const auto value = [&](const char* option) {
    const auto found = now.values.find(option);
    return found == now.values.end() ? std::nullopt : std::optional(found->second);
  };
  return {value("--md"), value("--ma"), {}};
}

Candidates FormatsOf(const Situation& now) {
  const bool documents = now.command != nullptr && now.command->word_kind == WordKind::kFile;
  return documents ? WholeWords(kDocumentFormats) : WholeWords(kViewFormats);
}

using ValuesOfOption = Candidates (*)(const Environment& environment, const Situation& now,
                                      const std::string& current);

const std::map<std::string_view, ValuesOfOption> kOptionValues = {
    {"--file", [](const Environment&, const Situation&,
                  const std::string&) { return Candidates{std::string(kFileCandidates)}; }},
    {"--runtime-dir", [](const Environment&, const Situation&,
                         const std::string&) { return Candidates{std::string(kFileCandidates)}; }},
    {"--for",
     [](const Environment&, const Situation&, const std::string&) { return WholeWords(kParts); }},
    {"--format",
     [](const Environment&, const Situation& now, const std::string&) { return FormatsOf(now); }},
    {"--until", [](const Environment&, const Situation&,
                   const std::string& current) { return WholeWords(CompleteCondition(current)); }},
    {"--md", [](const Environment& environment, const Situation&,
                const std::string&) { return WholeWords(MdNames(Configuration(environment))); }},
    {"--ma",
     [](const Environment& environment, const Situation& now, const std::string&) {
       return WholeWords(MaNames(Configuration(environment), SelectionBefore(now)));
     }},
    {"--mep",
     [](const Environment& environment, const Situation& now, const std::string&) {
       return WholeWords(MepIds(Configuration(environment), SelectionBefore(now)));
     }},
};

Candidates OptionValues(const Environment& environment, const Situation& now,
                        const std::string& current) {
  const auto values = kOptionValues.find(now.option);
  return values == kOptionValues.end() ? Candidates{} : values->second(environment, now, current);
}

Situation Understand(const CLI::App& main, Environment& environment,
                     const std::vector<std::string>& before) {
  Situation now;
  now.app = &main;
  for (const std::string& word : before) {
    if (!now.option.empty()) {
      if (now.option == "--runtime-dir") {
        environment.runtime_dir = word;
      }
      now.values[now.option] = word;
      now.option.clear();
    } else if (const CLI::Option* option = FindOption(*now.app, word); option != nullptr) {
      now.option = HasValue(*option) ? word : "";
    } else if (now.command != nullptr) {
      now.words.push_back(word);
    } else if (const auto found = std::ranges::find(Commands(), word, &Command::name);
               found != Commands().end()) {
      now.command = &*found;
      now.app = main.get_subcommand(word);
    }
  }
  return now;
}

Candidates CommandNames() {
  Candidates names;
  for (const Command& command : Commands()) {
    if (!IsHidden(command)) {
      names.push_back(std::string(command.name) + ' ');
    }
  }
  return names;
}

Candidates AllCandidates(const CLI::App& main, Environment& environment,
                         const std::vector<std::string>& before, const std::string& current) {
  const Situation now = Understand(main, environment, before);
  if (!now.option.empty()) {
    return OptionValues(environment, now, current);
  }
  if (current.starts_with('-')) {
    return OptionCandidates(*now.app);
  }
  return now.command == nullptr ? CommandNames()
                                : WordCandidates(environment, *now.command, now.words, current);
}

// The shell replaces `replaced`, the end of the word as it stands in the line,
// so only the candidate's part from there on is printed.
void PrintCandidate(std::ostream& out, std::string candidate, const Word& word,
                    const std::string& raw, const std::string& replaced) {
  const bool is_whole = candidate.ends_with(' ');
  if (is_whole) {
    candidate.pop_back();
  }
  if (word.open_quote != 0) {
    fmt::print(out, "{}{}\n", candidate, is_whole ? std::string{word.open_quote, ' '} : "");
    return;
  }
  const std::string escaped = EscapeForShell(candidate) + (is_whole ? " " : "");
  const std::size_t kept = raw.ends_with(replaced) ? raw.size() - replaced.size() : 0;
  const bool goes_on = escaped.compare(0, kept, raw, 0, kept) == 0;
  fmt::print(out, "{}\n", goes_on ? escaped.substr(kept) : escaped);
}

void Complete(const CLI::App& main, Environment& environment, const std::string& line,
              const std::string& replaced) {
  environment.timeout_seconds = kPatienceSeconds;
  std::vector<Word> words = SplitWords(line);
  const bool begins_new_word =
      words.empty() || (words.back().open_quote == 0 && line.ends_with(' '));
  if (begins_new_word) {
    words.push_back({"", line.size(), 0});
  }
  std::vector<std::string> before;
  for (std::size_t i = 1; i + 1 < words.size(); ++i) {
    before.push_back(words[i].text);
  }
  const Word& current = words.back();
  for (const std::string& candidate : AllCandidates(main, environment, before, current.text)) {
    if (candidate == kFileCandidates) {
      fmt::print(environment.out, "{}\n", candidate);
    } else if (candidate.starts_with(current.text)) {
      PrintCandidate(environment.out, candidate, current, line.substr(current.begin), replaced);
    }
  }
}

}  // namespace

void AddComplete(CLI::App& app, Environment& environment) {
  app.description("Print how the line can go on, for the completion scripts");
  app.footer("Examples:\n  cfmctl __complete 'cfmctl get md{ea' 'md{ea'");
  const auto line = std::make_shared<std::string>();
  const auto replaced = std::make_shared<std::string>();
  app.add_option("LINE", *line, "The line up to the cursor");
  app.add_option("CURRENT", *replaced, "The part of its last word that the shell replaces");
  app.callback([line, replaced, &app, &environment] {
    Complete(*app.get_parent(), environment, *line, *replaced);
  });
}

}  // namespace cfmctl
