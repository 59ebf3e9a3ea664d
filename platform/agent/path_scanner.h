// The text of an instance path cut into steps, before any model is looked at.
#ifndef AGENT_PATH_SCANNER_H
#define AGENT_PATH_SCANNER_H

#include <string>
#include <string_view>
#include <vector>

#include "problem.h"

namespace agentd {

struct Predicate {
  std::string name;  // of the key; "." for an element of a leaf-list
  std::string value;
};

struct ScannedStep {
  std::string name;
  std::vector<Predicate> predicates;
};

// A path begins with a slash and has at least one step. Problems quote the
// place where the text stops making sense.
Result<std::vector<ScannedStep>> ScanPath(std::string_view text);

}  // namespace agentd

#endif
