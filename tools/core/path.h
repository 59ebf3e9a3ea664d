// Instance paths of the configuration as operators write them:
//   /config/oam/cfm/md[id='east']/ma[id='blue']/level     as NETCONF and XPath
//   md{east}/ma{blue}/mep{5}/direction                    short
// Both may be mixed, and /config/oam/cfm may be left out. A key in braces goes
// up to the next }, or is quoted: '...' as it stands, "..." with \" and \\ .
#ifndef TOOLS_CORE_PATH_H
#define TOOLS_CORE_PATH_H

#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "model.h"

namespace cfmctl {

// What was typed is no path of the configuration; says which and why.
class PathError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

struct PathStep {
  std::string name;
  std::optional<std::string> key;  // of a list entry; value of a leaf-list element

  bool operator==(const PathStep&) const = default;
};

struct Path {
  std::vector<PathStep> steps;      // below /config/oam/cfm; none: all of it
  const ModelNode* node = nullptr;  // of the last step

  // A list without its key names all entries, not one.
  bool NamesOneInstance() const;
};

// Steps of the text as it stands, /config/oam/cfm included; module prefixes
// are dropped. Throws PathError.
std::vector<PathStep> SplitPath(std::string_view text);

// Steps held against the model. Every list but the last step has its key.
// Throws PathError.
Path ParsePath(std::string_view text);

// What the agent understands: /config/oam/cfm/md[id='east']/...
std::string ToInstancePath(const Path& path);

// The path up to the last list entry that it names: /config/oam/cfm when it
// names none.
Path EnclosingEntry(const Path& path);

// One step in the short style, quoted where it must be: md{east}.
std::string ToShortStep(const PathStep& step);

}  // namespace cfmctl

#endif
