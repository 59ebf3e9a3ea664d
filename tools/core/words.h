// Words of a line as a shell splits them: blanks between words, '...' as it
// stands, "..." and backslash.
#ifndef TOOLS_CORE_WORDS_H
#define TOOLS_CORE_WORDS_H

#include <string>
#include <string_view>
#include <vector>

namespace cfmctl {

struct Word {
  std::string text;       // unquoted
  std::size_t begin = 0;  // where it begins in the line
  char open_quote = 0;    // its quote that the line does not close; 0: none
};

// A word that begins with # and the rest of the line are no words when
// `comments` says so. Only the last word can have an open quote.
enum class Comments { kNone, kHash };
std::vector<Word> SplitWords(std::string_view line, Comments comments = Comments::kNone);

// The word as a shell needs it: with a backslash before what it would take
// for itself.
std::string EscapeForShell(std::string_view text);

}  // namespace cfmctl

#endif
