#include "words.h"

namespace cfmctl {
namespace {

bool IsBlank(char c) {
  return c == ' ' || c == '\t' || c == '\n';
}

// Reads one word from `at` on, which ends behind it.
Word ReadWord(std::string_view line, std::size_t& at) {
  Word word;
  word.begin = at;
  char quote = 0;
  for (; at < line.size() && (quote != 0 || !IsBlank(line[at])); ++at) {
    const char c = line[at];
    if (quote == 0 && (c == '\'' || c == '"')) {
      quote = c;
    } else if (c == quote) {
      quote = 0;
    } else if (c == '\\' && quote != '\'' && at + 1 < line.size()) {
      const char next = line[at + 1];
      const bool escapes = quote == 0 || next == '"' || next == '\\';
      at += escapes ? 1 : 0;
      word.text += line[at];
    } else {
      word.text += c;
    }
  }
  word.open_quote = quote;
  return word;
}

}  // namespace

std::vector<Word> SplitWords(std::string_view line, Comments comments) {
  std::vector<Word> words;
  std::size_t at = 0;
  while (true) {
    while (at < line.size() && IsBlank(line[at])) {
      ++at;
    }
    const bool is_comment = comments == Comments::kHash && at < line.size() && line[at] == '#';
    if (at >= line.size() || is_comment) {
      return words;
    }
    words.push_back(ReadWord(line, at));
  }
}

std::string EscapeForShell(std::string_view text) {
  // A comma or .. between braces is what a shell expands.
  const bool may_expand =
      text.find(',') != std::string_view::npos || text.find("..") != std::string_view::npos;
  const std::string special = std::string(" \t\"'\\$`&|;<>()*?[]#~!") + (may_expand ? "{}," : "");
  std::string escaped;
  for (const char c : text) {
    if (special.find(c) != std::string::npos) {
      escaped += '\\';
    }
    escaped += c;
  }
  return escaped;
}

}  // namespace cfmctl
