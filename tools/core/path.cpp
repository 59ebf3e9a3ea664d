#include "path.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

namespace cfmctl {
namespace {

constexpr std::string_view kPrefix[] = {"config", "oam", "cfm"};

std::string NamesOf(const ModelNode& parent) {
  std::vector<std::string_view> names;
  for (const ModelNode& child : parent.children) {
    names.push_back(child.name);
  }
  return names.empty() ? "nothing" : fmt::format("{}", fmt::join(names, ", "));
}

// How many of the steps spell /config/oam/cfm or its beginning.
std::size_t PrefixLength(std::string_view text, const std::vector<PathStep>& steps) {
  if (steps.empty() || steps[0].name != kPrefix[0]) {
    return 0;
  }
  std::size_t count = 0;
  for (; count < std::size(kPrefix) && count < steps.size(); ++count) {
    if (steps[count].name != kPrefix[count] || steps[count].key) {
      throw PathError(fmt::format("path \"{}\": the configuration is below /config/oam/cfm", text));
    }
  }
  return count;
}

// Descends one step. `is_last`: only the last list may go without its key.
const ModelNode& Resolve(std::string_view text, const ModelNode& parent, const PathStep& step,
                         bool is_last) {
  const ModelNode* const node = FindChild(parent, step.name);
  if (node == nullptr) {
    throw PathError(fmt::format("path \"{}\": there is no node \"{}\" below {} (there is {})", text,
                                step.name, parent.name, NamesOf(parent)));
  }
  if (step.key && !TakesKey(*node)) {
    throw PathError(fmt::format("path \"{}\": {} is no list and has no key", text, step.name));
  }
  if (step.key && step.key->empty()) {
    throw PathError(fmt::format("path \"{}\": the key of {} is empty", text, step.name));
  }
  if (!step.key && node->kind == NodeKind::kList && !is_last) {
    throw PathError(fmt::format("path \"{0}\": {1} needs its key: {1}{{...}}", text, step.name));
  }
  return *node;
}

// In the quotes that the key does not hold; a key that holds both has its "
// doubled, which the agent understands.
std::string Literal(const std::string& key) {
  if (key.find('\'') == std::string::npos) {
    return '\'' + key + '\'';
  }
  std::string quoted = "\"";
  for (const char c : key) {
    quoted.append(c == '"' ? 2 : 1, c);
  }
  return quoted + '"';
}

}  // namespace

bool Path::NamesOneInstance() const {
  return steps.empty() || node->kind != NodeKind::kList || steps.back().key.has_value();
}

Path ParsePath(std::string_view text) {
  std::vector<PathStep> steps = SplitPath(text);
  steps.erase(steps.begin(), steps.begin() + static_cast<long>(PrefixLength(text, steps)));
  Path path{std::move(steps), &ConfigurationModel()};
  for (const PathStep& step : path.steps) {
    path.node = &Resolve(text, *path.node, step, &step == &path.steps.back());
  }
  return path;
}

Path EnclosingEntry(const Path& path) {
  Path entry{{}, &ConfigurationModel()};
  Path here = entry;
  for (const PathStep& step : path.steps) {
    here.steps.push_back(step);
    here.node = FindChild(*here.node, step.name);
    if (here.node->kind == NodeKind::kList && step.key) {
      entry = here;
    }
  }
  return entry;
}

std::string ToInstancePath(const Path& path) {
  std::string text = fmt::format("/{}", fmt::join(kPrefix, "/"));
  const ModelNode* node = &ConfigurationModel();
  for (const PathStep& step : path.steps) {
    node = FindChild(*node, step.name);
    text += '/' + step.name;
    if (step.key) {
      const bool is_element = node->kind == NodeKind::kLeafList;
      text += fmt::format("[{}={}]", is_element ? "." : "id", Literal(*step.key));
    }
  }
  return text;
}

std::string ToShortStep(const PathStep& step) {
  if (!step.key) {
    return step.name;
  }
  const bool plain = step.key->find('}') == std::string::npos && !step.key->starts_with('"') &&
                     !step.key->starts_with('\'');
  if (plain) {
    return fmt::format("{}{{{}}}", step.name, *step.key);
  }
  std::string quoted;
  for (const char c : *step.key) {
    if (c == '"' || c == '\\') {
      quoted += '\\';
    }
    quoted += c;
  }
  return fmt::format("{}{{\"{}\"}}", step.name, quoted);
}

}  // namespace cfmctl
