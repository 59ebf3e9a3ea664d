#include "instance_path.h"

#include <confd_lib.h>

#include <algorithm>

#include "path_scanner.h"
#include "values.h"

namespace agentd {
namespace {

std::string Quoted(std::string_view text) {
  if (text.find('\'') == text.npos) {
    return "'" + std::string(text) + "'";
  }
  std::string quoted = "\"";
  for (const char c : text) {
    quoted.append(c == '"' ? 2 : 1, c);
  }
  return quoted + "\"";
}

Problem BadPath(const std::string& message, const std::string& path) {
  return {.message = message, .path = path, .code = CONFD_ERR_BADPATH};
}

// The schema node of the next step.
Result<const lysc_node*> ChildNamed(const Model& model, const InstancePath& above,
                                    std::string_view name) {
  const lysc_node* parent = above.empty() ? nullptr : above.back().schema;
  const lysc_node* child = model.Child(parent, name);
  if (child == nullptr) {
    return BadPath("the model has no '" + std::string(name) + "' " +
                       (above.empty() ? "at the top" : "in " + TextOf(above)),
                   TextOf(above) + "/" + std::string(name));
  }
  return child;
}

// Puts the predicates of a list into the order of its keys.
Result<std::vector<std::string>> KeysFrom(const Model& model, const lysc_node& schema,
                                          const std::vector<Predicate>& predicates,
                                          const std::string& path) {
  const bool is_list = schema.nodetype == LYS_LIST;
  const auto keys = is_list ? KeysOf(schema) : std::vector<const lysc_node*>{&schema};
  if (predicates.size() != keys.size()) {
    return BadPath("'" + NameOf(schema) + "' has " + std::to_string(keys.size()) + " key(s), " +
                       std::to_string(predicates.size()) + " given",
                   path);
  }
  std::vector<std::string> texts;
  for (const lysc_node* key : keys) {
    const std::string name = is_list ? NameOf(*key) : ".";
    const auto found = std::find_if(predicates.begin(), predicates.end(),
                                    [&](const Predicate& each) { return each.name == name; });
    if (found == predicates.end()) {
      return BadPath("'" + NameOf(schema) + "' needs the key '" + name + "'", path);
    }
    const std::string predicate = "[" + name + "=" + Quoted(found->value) + "]";
    auto canonical = Canonical(model, *key, found->value, std::string(path).append(predicate));
    if (!canonical) {
      return canonical.Why();
    }
    texts.push_back(std::move(*canonical));
  }
  return texts;
}

bool TakesKeys(const lysc_node& schema) {
  return (schema.nodetype & (LYS_LIST | LYS_LEAFLIST)) != 0;
}

// Keys as a program gave them, in the order of the model.
Problems AddKeys(const Model& model, const cfm::agent::PathStep& given, PathStep& step) {
  const lysc_node& schema = *step.schema;
  const auto keys =
      schema.nodetype == LYS_LIST ? KeysOf(schema) : std::vector<const lysc_node*>{step.schema};
  if (!TakesKeys(schema) || static_cast<std::size_t>(given.keys_size()) != keys.size()) {
    return {BadPath("wrong number of keys for '" + NameOf(schema) + "'", {})};
  }
  for (std::size_t i = 0; i < keys.size(); ++i) {
    const auto text = TextOf(*keys[i], given.keys(static_cast<int>(i)));
    if (!text) {
      return text.Why();
    }
    const auto canonical = Canonical(model, *keys[i], *text, {});
    step.impossible = step.impossible || !canonical;
    step.keys.push_back(canonical ? *canonical : *text);
  }
  return {};
}

Result<PathStep> Resolve(const Model& model, const InstancePath& above,
                         const cfm::agent::PathStep& given) {
  const auto schema = ChildNamed(model, above, given.name());
  if (!schema) {
    return schema.Why();
  }
  PathStep step{*schema, {}, {}, false};
  if (given.has_position()) {
    if (step.schema->nodetype != LYS_LIST || given.keys_size() > 0) {
      return BadPath("a position goes with a list and without keys", TextOf(above));
    }
    step.position = given.position();
  } else if (given.keys_size() > 0) {
    if (Problems problems = AddKeys(model, given, step); !problems.empty()) {
      problems.front().path = TextOf(above) + "/" + given.name();
      return problems;
    }
  }
  return step;
}

}  // namespace

Result<InstancePath> ParsePath(const Model& model, std::string_view text) {
  const auto scanned = ScanPath(text);
  if (!scanned) {
    return scanned.Why();
  }
  InstancePath path;
  for (const ScannedStep& each : *scanned) {
    if (!path.empty() && path.back().schema->nodetype == LYS_LIST && path.back().keys.empty()) {
      return BadPath("the path goes through the list '" + NameOf(*path.back().schema) +
                         "' without saying which entry",
                     std::string(text));
    }
    const auto schema = ChildNamed(model, path, each.name);
    if (!schema) {
      return schema.Why();
    }
    PathStep step{*schema, {}, {}, false};
    if (!each.predicates.empty()) {
      const std::string where = TextOf(path) + "/" + NameOf(**schema);
      if (!TakesKeys(**schema)) {
        return BadPath("'" + NameOf(**schema) + "' is no list and takes no key", where);
      }
      auto keys = KeysFrom(model, **schema, each.predicates, where);
      if (!keys) {
        return keys.Why();
      }
      step.keys = std::move(*keys);
    }
    path.push_back(std::move(step));
  }
  return path;
}

Result<InstancePath> ResolvePath(const Model& model, const cfm::agent::Path& path) {
  InstancePath resolved;
  for (const auto& given : path.steps()) {
    auto step = Resolve(model, resolved, given);
    if (!step) {
      return step.Why();
    }
    resolved.push_back(std::move(*step));
  }
  if (resolved.empty()) {
    return BadPath("the path is empty", {});
  }
  return resolved;
}

std::string TextOf(const PathStep& step) {
  std::string text = "/" + NameOf(*step.schema);
  if (step.position) {
    return text + "[" + std::to_string(*step.position + 1) + "]";
  }
  if (step.schema->nodetype == LYS_LEAFLIST && !step.keys.empty()) {
    return text + "[.=" + Quoted(step.keys.front()) + "]";
  }
  if (!step.keys.empty()) {
    const auto names = KeysOf(*step.schema);
    for (std::size_t i = 0; i < names.size(); ++i) {
      text += "[" + NameOf(*names[i]) + "=" + Quoted(step.keys[i]) + "]";
    }
  }
  return text;
}

std::string TextOf(const InstancePath& path) {
  std::string text;
  for (const PathStep& step : path) {
    text += TextOf(step);
  }
  return text;
}

std::string StepText(const lyd_node& node) {
  std::string text = "/" + NameOf(*node.schema);
  if (node.schema->nodetype == LYS_LEAFLIST) {
    return text + "[.=" + Quoted(lyd_get_value(&node)) + "]";
  }
  if (node.schema->nodetype == LYS_LIST) {
    for (const lyd_node* key = lyd_child(&node); key != nullptr && lysc_is_key(key->schema);
         key = key->next) {
      text += "[" + NameOf(*key->schema) + "=" + Quoted(lyd_get_value(key)) + "]";
    }
  }
  return text;
}

std::string PathOf(const lyd_node& node) {
  const lyd_node* parent = lyd_parent(&node);
  return (parent != nullptr ? PathOf(*parent) : "") + StepText(node);
}

std::string WithoutModuleNames(std::string_view path) {
  std::string text;
  char quote = '\0';
  std::size_t name_begins = 0;
  for (const char c : path) {
    if (quote != '\0') {
      quote = c == quote ? '\0' : quote;
    } else if (c == '\'' || c == '"') {
      quote = c;
    } else if (c == '/' || c == '[') {
      name_begins = text.size() + 1;
    } else if (c == ':') {
      text.resize(name_begins);
      continue;
    }
    text += c;
  }
  return text;
}

std::vector<const lysc_node*> KeysOf(const lysc_node& list) {
  std::vector<const lysc_node*> keys;
  for (const lysc_node* child = lysc_node_child(&list); child != nullptr; child = child->next) {
    if (lysc_is_key(child)) {
      keys.push_back(child);
    }
  }
  return keys;
}

}  // namespace agentd
