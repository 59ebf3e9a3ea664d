// Words that arguments are chosen from.
#ifndef TOOLS_COMMANDS_CHOICES_H
#define TOOLS_COMMANDS_CHOICES_H

#include <CLI/CLI.hpp>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace cfmctl {

inline constexpr std::string_view kViewFormats[] = {"table", "xml", "json"};
inline constexpr std::string_view kDocumentFormats[] = {"xml", "json"};
inline constexpr std::string_view kParts[] = {"agent", "daemon", "manager"};
inline constexpr std::string_view kShown[] = {"manager", "status", "statistics"};
inline constexpr std::string_view kShells[] = {"bash", "zsh"};

inline CLI::IsMember OneOf(std::span<const std::string_view> choices) {
  return CLI::IsMember(std::vector<std::string>(choices.begin(), choices.end()));
}

}  // namespace cfmctl

#endif
