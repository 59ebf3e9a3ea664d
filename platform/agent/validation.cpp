#include "validation.h"

#include <algorithm>
#include <utility>

#include "instance_path.h"

namespace agentd {
namespace {

// Names the rules that an invalid tree breaks. libyang stops at the first one
// and does not tell which it was, so the tree is walked again when, and only
// when, libyang has refused it.
class Diagnosis {
 public:
  explicit Diagnosis(const lyd_node* siblings) { Walk(siblings); }

  Problems Take() { return std::move(problems_); }

 private:
  // More than this helps nobody to mend a configuration.
  static constexpr std::size_t kMost = 100;

  void Walk(const lyd_node* siblings) {
    for (const lyd_node* node = siblings; node != nullptr && problems_.size() < kMost;
         node = node->next) {
      CheckMusts(*node);
      CheckMandatory(*node);
      CheckDuplicate(*node);
      Walk(lyd_child(node));
    }
  }

  void CheckMusts(const lyd_node& node) {
    const lysc_must* musts = lysc_node_musts(node.schema);
    LY_ARRAY_COUNT_TYPE i = 0;
    LY_ARRAY_FOR(musts, i) {
      const char* expression = lyxp_get_expr(musts[i].cond);
      ly_bool holds = 0;
      if (lyd_eval_xpath(&node, expression, &holds) == LY_SUCCESS && holds == 0) {
        problems_.push_back(
            {.message = musts[i].emsg != nullptr ? musts[i].emsg : "a condition does not hold",
             .path = PathOf(node),
             .rule = expression});
      }
    }
  }

  void CheckMandatory(const lyd_node& node) {
    for (const lysc_node* child = lysc_node_child(node.schema); child != nullptr;
         child = child->next) {
      if (child->nodetype != LYS_LEAF || (child->flags & LYS_MAND_TRUE) == 0 ||
          lysc_is_key(child)) {
        continue;
      }
      lyd_node* match = nullptr;
      lyd_find_sibling_val(lyd_child(&node), child, nullptr, 0, &match);
      if (match == nullptr) {
        problems_.push_back({.message = "'" + NameOf(*child) + "' is missing",
                             .path = PathOf(node) + "/" + NameOf(*child),
                             .rule = "mandatory"});
      }
    }
  }

  // Instances are in order, so those that are equal stand together.
  void CheckDuplicate(const lyd_node& node) {
    const lyd_node* next = node.next;
    if (next != nullptr && next->schema == node.schema &&
        lyd_compare_single(&node, next, 0) == LY_SUCCESS) {
      problems_.push_back({.message = "it is there twice", .path = PathOf(node), .rule = "unique"});
    }
  }

  Problems problems_;
};

}  // namespace

void AddImplicitNodes(const Model& model, Tree& tree) {
  lyd_node* top = tree.release();
  const LY_ERR result = lyd_new_implicit_all(&top, model.Context(), LYD_IMPLICIT_NO_STATE, nullptr);
  tree.reset(top);
  CheckYang(result, model.Context(), "add default nodes");
}

Problems Validate(const Model& model, Tree& tree) {
  ly_err_clean(model.Context(), nullptr);
  lyd_node* top = tree.release();
  const LY_ERR result = lyd_validate_all(&top, model.Context(), LYD_VALIDATE_NO_STATE, nullptr);
  tree.reset(top);
  Problems problems;
  if (result != LY_SUCCESS) {
    const Problems said = TakeErrors(model.Context(), "the configuration is not valid");
    problems = Diagnosis(tree.get()).Take();
    ly_err_clean(model.Context(), nullptr);
    if (problems.empty()) {
      problems = said;
    }
  }
  return problems;
}

}  // namespace agentd
