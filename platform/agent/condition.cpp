#include "condition.h"

#include <algorithm>
#include <cctype>
#include <map>
#include <stdexcept>

#include "instance_path.h"
#include "nodes.h"
#include "values.h"

namespace agentd {
namespace {

// Reads the expression from left to right.
class Scanner {
 public:
  explicit Scanner(std::string_view text) : rest_(text) {}

  bool AtEnd() {
    SkipSpace();
    return rest_.empty();
  }
  bool Take(std::string_view token) {
    SkipSpace();
    if (!rest_.starts_with(token)) {
      return false;
    }
    rest_.remove_prefix(token.size());
    return true;
  }
  void Expect(std::string_view token) {
    if (!Take(token)) {
      throw std::runtime_error("'" + std::string(token) + "' expected before '" +
                               std::string(rest_) + "'");
    }
  }
  // A name with its prefix, if any; "." stands for itself.
  std::string_view Name() {
    SkipSpace();
    const auto ends = [](char c) {
      return std::isalnum(static_cast<unsigned char>(c)) == 0 && c != '_' && c != '-' && c != '.' &&
             c != ':';
    };
    const auto end = std::find_if(rest_.begin(), rest_.end(), ends);
    const auto size = static_cast<std::size_t>(end - rest_.begin());
    if (size == 0) {
      throw std::runtime_error("a name expected before '" + std::string(rest_) + "'");
    }
    const std::string_view name = rest_.substr(0, size);
    rest_.remove_prefix(size);
    return name;
  }

 private:
  void SkipSpace() {
    while (!rest_.empty() && std::isspace(static_cast<unsigned char>(rest_.front())) != 0) {
      rest_.remove_prefix(1);
    }
  }
  std::string_view rest_;
};

// "cfm:md" as "element-cfm:md": prefixes mean what the node's module says.
std::string WithModule(const lysc_node& node, std::string_view name) {
  const std::size_t colon = name.find(':');
  if (colon == name.npos) {
    return std::string(node.module->name) + ":" + std::string(name);
  }
  lysc_when* const* when = node.nodetype == LYS_LEAF
                               ? reinterpret_cast<const lysc_node_leaf&>(node).when
                               : reinterpret_cast<const lysc_node_leaflist&>(node).when;
  const lysc_prefix* prefixes = when != nullptr ? when[0]->prefixes : nullptr;
  LY_ARRAY_COUNT_TYPE i = 0;
  LY_ARRAY_FOR(prefixes, i) {
    if (prefixes[i].prefix != nullptr && name.substr(0, colon) == prefixes[i].prefix) {
      return std::string(prefixes[i].mod->name) + std::string(name.substr(colon));
    }
  }
  throw std::runtime_error("unknown prefix in '" + std::string(name) + "'");
}

const lysc_node& Named(const Model& model, const lysc_node& node, const lysc_node* parent,
                       std::string_view name) {
  const lysc_node* found = model.Child(parent, WithModule(node, name));
  if (found == nullptr) {
    throw std::runtime_error("the model has no '" + std::string(name) + "' there");
  }
  return *found;
}

// The predicates of one step: operand by key leaf, or by the leaf-list itself.
std::map<const lysc_node*, const lysc_node*> Predicates(const Model& model, const lysc_node& node,
                                                        const lysc_node& schema, Scanner& text) {
  std::map<const lysc_node*, const lysc_node*> operands;
  while (text.Take("[")) {
    const std::string_view left = text.Name();
    const lysc_node& key = left == "." ? schema : Named(model, node, &schema, left);
    text.Expect("=");
    text.Expect("current()/../");
    operands[&key] = &Named(model, node, node.parent, text.Name());
    text.Expect("]");
  }
  return operands;
}

std::vector<const lysc_node*> KeysNeeded(const lysc_node& schema) {
  if (schema.nodetype == LYS_LIST) {
    return KeysOf(schema);
  }
  return schema.nodetype == LYS_LEAFLIST ? std::vector<const lysc_node*>{&schema}
                                         : std::vector<const lysc_node*>{};
}

}  // namespace

Condition::Condition(const Model& model, const lysc_node& node, std::string_view text) {
  try {
    Scanner scanner(text);
    const lysc_node* parent = nullptr;
    while (!scanner.AtEnd()) {
      scanner.Expect("/");
      const lysc_node& schema = Named(model, node, parent, scanner.Name());
      Step step{&schema, {}};
      const auto operands = Predicates(model, node, schema, scanner);
      for (const lysc_node* key : KeysNeeded(schema)) {
        const auto found = operands.find(key);
        if (found == operands.end()) {
          throw std::runtime_error("'" + NameOf(schema) + "' needs a value for '" + NameOf(*key) +
                                   "'");
        }
        step.operands.push_back(found->second);
      }
      if (operands.size() != step.operands.size()) {
        throw std::runtime_error("'" + NameOf(schema) + "' is not picked by its keys alone");
      }
      steps_.push_back(std::move(step));
      parent = &schema;
    }
  } catch (const std::runtime_error& error) {
    throw std::runtime_error("data model: the when statement of '" + NameOf(node) +
                             "' is beyond the agent: " + error.what());
  }
}

const lyd_node* Condition::Find(const Model& model, const lyd_node* top,
                                const Neighbour& neighbour) const {
  const lyd_node* node = nullptr;
  for (const Step& step : steps_) {
    PathStep wanted{step.schema, {}, {}, false};
    const auto keys = KeysNeeded(*step.schema);
    for (std::size_t i = 0; i < keys.size(); ++i) {
      const std::string* value = neighbour(*step.operands[i]);
      // A text that the key's type has not, or writes differently, equals no
      // key.
      const auto canonical = value != nullptr ? Canonical(model, *keys[i], *value, {})
                                              : Result<std::string>(Problem{});
      if (!canonical || *canonical != *value) {
        return nullptr;
      }
      wanted.keys.push_back(*canonical);
    }
    node = FindChild(top, node, wanted);
    if (node == nullptr) {
      return nullptr;
    }
  }
  return node;
}

}  // namespace agentd
