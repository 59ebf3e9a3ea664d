#include "document.h"

#include "instance_path.h"
#include "values.h"

namespace agentd {
namespace {

// Finds out why libyang could make no data nodes of some parts of a document;
// it leaves those as opaque nodes: a leaf with a bad value, a list entry with
// a bad key or none.
class OpaqueNodes {
 public:
  explicit OpaqueNodes(const Model& model) : model_(model) {}

  void Examine(const lyd_node* siblings, const lysc_node* parent, const std::string& above) {
    for (const lyd_node* node = siblings; node != nullptr; node = node->next) {
      if (node->schema != nullptr) {
        Examine(lyd_child(node), node->schema, above + StepText(*node));
      } else {
        ExamineOpaque(*node, parent, above);
      }
    }
  }

  Problems problems;

 private:
  void ExamineOpaque(const lyd_node& node, const lysc_node* parent, const std::string& above) {
    const auto& opaque = reinterpret_cast<const lyd_node_opaq&>(node);
    const std::string path = above + "/" + opaque.name.name;
    const lysc_node* schema = model_.Child(parent, opaque.name.name);
    if (schema == nullptr) {
      Report("the model has no '" + std::string(opaque.name.name) + "' here", path, {});
    } else if ((schema->nodetype & LYD_NODE_TERM) != 0) {
      if (const auto value = Canonical(model_, *schema, opaque.value, path); !value) {
        problems.push_back(value.Why().front());
      }
    } else {
      ReportMissingKeys(node, *schema, path);
      Examine(lyd_child(&node), schema, path);
    }
  }

  void ReportMissingKeys(const lyd_node& entry, const lysc_node& schema, const std::string& path) {
    if (schema.nodetype != LYS_LIST) {
      return;
    }
    for (const lysc_node* key : KeysOf(schema)) {
      const lyd_node* child = lyd_child(&entry);
      while (child != nullptr && NameOf(*key) != LYD_NAME(child)) {
        child = child->next;
      }
      if (child == nullptr) {
        Report("the entry of '" + NameOf(schema) + "' has no key '" + NameOf(*key) + "'", path,
               "key");
      }
    }
  }

  void Report(const std::string& message, const std::string& path, const std::string& rule) {
    problems.push_back({.message = message, .path = path, .rule = rule});
  }

  const Model& model_;
};

// Entries and elements that a document holds twice: libyang would take the
// last one and say nothing.
void FindRepetitions(const lyd_node* siblings, Problems& problems) {
  for (const lyd_node* node = siblings; node != nullptr; node = node->next) {
    if ((node->schema->nodetype & (LYS_LIST | LYS_LEAFLIST | LYS_LEAF)) != 0) {
      lyd_node* first = nullptr;
      lyd_find_sibling_first(siblings, node, &first);
      if (first != nullptr && first != node) {
        problems.push_back(
            {.message = "it is in the document twice", .path = PathOf(*node), .rule = "unique"});
      }
    }
    FindRepetitions(lyd_child(node), problems);
  }
}

// A second look at a document that was refused: the first look stops at the
// first value at fault and does not say which constraint it breaks.
Problems EveryProblem(const Model& model, const std::string& text, LYD_FORMAT format,
                      Problems first) {
  lyd_node* tree = nullptr;
  const LY_ERR result =
      lyd_parse_data_mem(model.Context(), text.c_str(), format,
                         LYD_PARSE_ONLY | LYD_PARSE_OPAQ | LYD_PARSE_NO_STATE, 0, &tree);
  const Tree owner(tree);
  OpaqueNodes opaque(model);
  if (result == LY_SUCCESS) {
    opaque.Examine(tree, nullptr, "");
  }
  ly_err_clean(model.Context(), nullptr);
  if (opaque.problems.empty()) {
    return first;
  }
  for (Problem& problem : opaque.problems) {
    if (problem.path == first.front().path) {
      problem.message = first.front().message;  // the same, with its line
    }
  }
  return opaque.problems;
}

}  // namespace

Result<Tree> ParseDocument(const Model& model, const std::string& text, cfm::agent::Format format) {
  if (format != cfm::agent::FORMAT_XML && format != cfm::agent::FORMAT_JSON) {
    return Problem{.message = "a document is XML or JSON"};
  }
  if (text.find('\0') != text.npos) {
    return Problem{.message = "the document holds a NUL byte"};
  }
  const LYD_FORMAT form = format == cfm::agent::FORMAT_XML ? LYD_XML : LYD_JSON;
  ly_err_clean(model.Context(), nullptr);
  lyd_node* tree = nullptr;
  const LY_ERR result =
      lyd_parse_data_mem(model.Context(), text.c_str(), form,
                         LYD_PARSE_ONLY | LYD_PARSE_STRICT | LYD_PARSE_NO_STATE, 0, &tree);
  Tree owner(tree);
  if (result != LY_SUCCESS) {
    return EveryProblem(model, text, form,
                        TakeErrors(model.Context(), "the document cannot be read"));
  }
  if (tree == nullptr) {
    return Problem{.message = "the document is empty"};
  }
  if (Problems repeated; FindRepetitions(tree, repeated), !repeated.empty()) {
    return repeated;
  }
  return owner;
}

}  // namespace agentd
