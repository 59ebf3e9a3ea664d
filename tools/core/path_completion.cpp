#include "path_completion.h"

#include <fmt/format.h>

#include "path.h"

namespace cfmctl {
namespace {

constexpr std::string_view kTop = "/config/oam/cfm";

// Where the last step begins: behind the last / outside of keys.
std::size_t LastStep(std::string_view text) {
  std::size_t begin = 0;
  char closing = 0;
  for (std::size_t at = 0; at < text.size(); ++at) {
    const char c = text[at];
    if (closing != 0) {
      closing = c == closing ? '\0' : closing;
    } else if (c == '{' || c == '[') {
      closing = c == '{' ? '}' : ']';
    } else if (c == '/') {
      begin = at + 1;
    }
  }
  return begin;
}

// Ways to write one more step: "md{" for a new entry, one per entry there is.
std::vector<std::string> Steps(const ModelNode& node, const std::vector<const TreeNode*>& there) {
  const std::string name(node.name);
  switch (node.kind) {
    case NodeKind::kContainer:
    case NodeKind::kPresenceContainer:
      return {name, name + '/'};
    case NodeKind::kLeaf:
    case NodeKind::kEmptyLeaf:
      return {name + ' '};
    case NodeKind::kLeafList:
    case NodeKind::kList:
      break;
  }
  const bool is_list = node.kind == NodeKind::kList;
  std::vector<std::string> steps{is_list ? name + '{' : name};
  for (const TreeNode* entry : there) {
    const std::string key = is_list ? ChildValue(*entry, "id").value_or("") : entry->value;
    const std::string braces = ToShortStep({name, key});
    if (!is_list) {
      steps.push_back(braces + ' ');
      continue;
    }
    steps.push_back(braces);
    steps.push_back(braces + '/');
    if (key.find('\'') == std::string::npos) {
      steps.push_back(fmt::format("{}[id='{}']", name, key));
      steps.push_back(steps.back() + '/');
    }
  }
  return steps;
}

// Of several spellings of a node, only those that the operator began to type:
// brackets once a bracket stands there, the / once the rest is complete.
bool IsNextOf(std::string_view step, std::string_view typed) {
  if (!step.starts_with(typed) || step == typed) {
    return false;
  }
  const bool brackets = step.find('[') != std::string_view::npos;
  if (brackets && typed.find('[') == std::string_view::npos) {
    return false;
  }
  return step.back() != '/' || step.substr(0, step.size() - 1) == typed;
}

std::vector<const TreeNode*> ChildrenNamed(const std::vector<const TreeNode*>& parents,
                                           const PathStep& step) {
  std::vector<const TreeNode*> found;
  for (const TreeNode* parent : parents) {
    for (const TreeNode& child : parent->children) {
      if (child.name == step.name && (!step.key || ChildValue(child, "id") == step.key)) {
        found.push_back(&child);
      }
    }
  }
  return found;
}

std::vector<std::string> CompleteBelow(std::string_view head, std::string_view typed,
                                       const TreeNode& cfm) {
  const Path parent = ParsePath(head);
  std::vector<const TreeNode*> nodes{&cfm};
  for (const PathStep& step : parent.steps) {
    nodes = ChildrenNamed(nodes, step);
  }
  std::vector<std::string> paths;
  for (const ModelNode& child : parent.node->children) {
    const PathStep any{std::string(child.name), {}};
    for (const std::string& step : Steps(child, ChildrenNamed(nodes, any))) {
      if (IsNextOf(step, typed)) {
        paths.push_back(std::string(head) + step);
      }
    }
  }
  return paths;
}

}  // namespace

std::vector<std::string> CompletePath(std::string_view partial, const TreeNode& cfm) {
  const bool is_absolute = partial.starts_with('/');
  if (is_absolute && partial.size() <= kTop.size()) {
    return kTop.starts_with(partial) ? std::vector{std::string(kTop) + '/'}
                                     : std::vector<std::string>{};
  }
  const std::size_t begin = LastStep(partial);
  try {
    return CompleteBelow(partial.substr(0, begin), partial.substr(begin), cfm);
  } catch (const PathError&) {
    return {};
  }
}

std::vector<std::string> CompleteValue(std::string_view path) {
  try {
    const ModelNode& node = *ParsePath(path).node;
    return {node.values.begin(), node.values.end()};
  } catch (const PathError&) {
    return {};
  }
}

}  // namespace cfmctl
