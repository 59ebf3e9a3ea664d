#include "edits.h"

#include <fmt/format.h>

#include <map>

#include "path.h"

namespace cfmctl {
namespace {

const std::map<std::string_view, EditKind> kKinds = {
    {"merge", EditKind::kMerge},   {"set", EditKind::kMerge},     {"replace", EditKind::kReplace},
    {"create", EditKind::kCreate}, {"delete", EditKind::kDelete}, {"remove", EditKind::kRemove}};

bool Removes(EditKind kind) {
  return kind == EditKind::kDelete || kind == EditKind::kRemove;
}

std::vector<std::string> SplitAtCommas(const std::string& text) {
  std::vector<std::string> parts;
  std::size_t begin = 0;
  while (true) {
    const std::size_t comma = text.find(',', begin);
    parts.push_back(text.substr(begin, comma - begin));
    if (comma == std::string::npos) {
      return parts;
    }
    begin = comma + 1;
  }
}

// The protocol names a leaf-list element by the list's path and its value.
void AddElement(std::vector<Edit>& edits, EditKind kind, Path path) {
  const std::string value = *path.steps.back().key;
  path.steps.back().key.reset();
  edits.push_back({kind, ToInstancePath(path), value});
}

void AddValue(std::vector<Edit>& edits, EditKind kind, const Path& path, const std::string& value) {
  if (path.node->kind != NodeKind::kLeafList) {
    edits.push_back({kind, ToInstancePath(path), value});
    return;
  }
  for (const std::string& element : SplitAtCommas(value)) {
    edits.push_back({kind, ToInstancePath(path), element});
  }
}

}  // namespace

std::optional<EditKind> ParseEditKind(std::string_view word) {
  if (word.starts_with("--")) {
    word.remove_prefix(2);
  }
  const auto kind = kKinds.find(word);
  return kind == kKinds.end() ? std::nullopt : std::optional(kind->second);
}

std::vector<Edit> ParseEdits(const std::vector<std::string>& words, std::optional<EditKind> first) {
  std::vector<Edit> edits;
  std::optional<EditKind> kind = first;
  for (auto word = words.begin(); word != words.end(); ++word) {
    if (const auto next = ParseEditKind(*word)) {
      kind = next;
      continue;
    }
    if (!kind) {
      throw EditError(
          fmt::format("\"{}\" is no operation: merge, replace, create, delete or remove", *word));
    }
    const Path path = ParsePath(*word);
    if (!path.NamesOneInstance()) {
      throw EditError(
          fmt::format("path \"{0}\": {1} needs its key: {1}{{...}}", *word, path.node->name));
    }
    if (path.node->kind == NodeKind::kLeafList && path.steps.back().key) {
      AddElement(edits, *kind, path);
    } else if (!TakesValue(*path.node) || Removes(*kind)) {
      edits.push_back({*kind, ToInstancePath(path), std::nullopt});
    } else if (word + 1 == words.end()) {
      throw EditError(
          fmt::format("path \"{}\": the value of {} is missing", *word, path.node->name));
    } else {
      AddValue(edits, *kind, path, *++word);
    }
  }
  return edits;
}

}  // namespace cfmctl
