// The words behind "cfmctl edit", "set" and "delete" as edits.
#ifndef TOOLS_CORE_EDITS_H
#define TOOLS_CORE_EDITS_H

#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace cfmctl {

// Meanings as in RFC 6241 clause 7.2.
enum class EditKind { kMerge, kReplace, kCreate, kDelete, kRemove };

struct Edit {
  EditKind kind = EditKind::kMerge;
  std::string path;                  // instance path
  std::optional<std::string> value;  // of a leaf or leaf-list element

  bool operator==(const Edit&) const = default;
};

// The words are no edits; says why.
class EditError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// The operation that a word names: merge (or set), replace, create, delete,
// remove, with or without two dashes before it.
std::optional<EditKind> ParseEditKind(std::string_view word);

// [OPERATION] PATH [VALUE] [PATH [VALUE]]... An operation holds until the next
// one; `first` holds until there is one, and without `first` the words must
// begin with one. What takes a value is followed by it, unless the edit
// removes. Values of a leaf-list may be joined by commas: one edit each.
// Throws EditError or PathError.
std::vector<Edit> ParseEdits(const std::vector<std::string>& words,
                             std::optional<EditKind> first = std::nullopt);

}  // namespace cfmctl

#endif
