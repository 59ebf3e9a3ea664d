#include "edit.h"

#include "document.h"
#include "instance_path.h"
#include "nodes.h"
#include "values.h"

namespace agentd {
namespace {

using cfm::agent::EditOperation;

constexpr unsigned kTerms = LYS_LEAF | LYS_LEAFLIST;

Problem Refused(const std::string& message, const std::string& path, const std::string& rule) {
  return {.message = message, .path = path, .rule = rule};
}

bool Exists(const lyd_node* node) {
  return node != nullptr && IsExplicit(*node);
}

// One operation on a draft.
class Operation {
 public:
  Operation(const Model& model, Draft& draft, const EditOperation& edit)
      : model_(model), draft_(draft), tree_(draft.Data()), edit_(edit) {}

  Problems Apply() {
    if (edit_.has_document()) {
      return ApplyDocument();
    }
    auto path = ParsePath(model_, edit_.path());
    if (!path) {
      return path.Why();
    }
    path_ = std::move(*path);
    if (const lysc_node* schema = path_.back().schema; (schema->flags & LYS_CONFIG_W) == 0) {
      return {Refused("'" + NameOf(*schema) + "' is state data and cannot be edited", Where(),
                      "config false")};
    }
    draft_.Take(path_);
    const bool removes =
        edit_.operation() == EditOperation::DELETE || edit_.operation() == EditOperation::REMOVE;
    return removes ? ApplyRemoval() : ApplyValue();
  }

 private:
  std::string Where() const { return TextOf(path_); }
  const lysc_node& Target() const { return *path_.back().schema; }
  bool IsInstance() const {
    return (Target().nodetype & (LYS_LIST | LYS_LEAFLIST)) == 0 || !path_.back().keys.empty();
  }

  Problems ApplyRemoval() {
    if (edit_.has_value() && Target().nodetype == LYS_LEAFLIST) {
      if (Problems problems = TakeValue(); !problems.empty()) {
        return problems;
      }
    }
    if (!IsInstance()) {
      return {Refused("'" + NameOf(Target()) + "' has many instances: say which", Where(), {})};
    }
    if (lysc_is_key((&Target()))) {
      return {KeyRefused()};
    }
    lyd_node* node = Find(tree_.get(), path_);
    if (Exists(node)) {
      Remove(tree_, node);
    } else if (edit_.operation() == EditOperation::DELETE) {
      return {Refused("there is nothing to delete", Where(), "data-missing")};
    }
    return {};
  }

  Problem KeyRefused() const {
    return Refused(
        "the key of a list entry cannot be changed: make a new entry and delete this "
        "one",
        Where(), "key");
  }

  // The value in its canonical form; that of a leaf-list becomes the key of
  // the last step.
  Problems TakeValue() {
    PathStep& last = path_.back();
    auto value = Canonical(model_, *last.schema, edit_.value(), Where());
    if (!value) {
      return value.Why();
    }
    if (last.schema->nodetype == LYS_LEAFLIST) {
      last.keys = {*value};
    }
    value_ = std::move(*value);
    return {};
  }

  Problems CheckValue() {
    const bool is_term = (Target().nodetype & kTerms) != 0;
    if (edit_.has_value() && !is_term) {
      return {Refused("'" + NameOf(Target()) + "' is no leaf and takes no value", Where(), {})};
    }
    if (edit_.has_value()) {
      return TakeValue();
    }
    if (Target().nodetype == LYS_LEAF && !IsEmptyLeaf(Target())) {
      return {Refused("'" + NameOf(Target()) + "' needs a value", Where(), {})};
    }
    return {};
  }

  Problems ApplyValue() {
    if (Problems problems = CheckValue(); !problems.empty()) {
      return problems;
    }
    if (!IsInstance()) {
      return {Refused("'" + NameOf(Target()) + "' needs its key", Where(), {})};
    }
    lyd_node* node = Find(tree_.get(), path_);
    if (lysc_is_key((&Target()))) {
      const bool same = node != nullptr && value_ == lyd_get_value(node);
      return same ? Problems{} : Problems{KeyRefused()};
    }
    if (edit_.operation() == EditOperation::CREATE && Exists(node)) {
      return {Refused("it exists already", Where(), "data-exists")};
    }
    const bool empties =
        edit_.operation() == EditOperation::REPLACE && (Target().nodetype & kTerms) == 0;
    if (node != nullptr && empties) {
      Remove(tree_, node);
      node = nullptr;
    }
    if (node == nullptr) {
      FindOrMake(tree_, path_, value_.c_str());
    } else if (Target().nodetype == LYS_LEAF) {
      lyd_change_term(node, value_.c_str());  // a default becomes explicit too
    }
    return {};
  }

  Problems ApplyDocument() {
    auto document = ParseDocument(model_, edit_.document(), edit_.format());
    if (!document) {
      return document.Why();
    }
    if (!edit_.path().empty()) {
      auto path = ParsePath(model_, edit_.path());
      if (!path) {
        return path.Why();
      }
      path_ = std::move(*path);
      if (!IsInstance() || Find(document->get(), path_) == nullptr) {
        return {Refused("the document has nothing at the path of the edit", Where(), {})};
      }
    }
    switch (edit_.operation()) {
      case EditOperation::MERGE:
        return Merge(std::move(*document));
      case EditOperation::REPLACE:
        return Replace(std::move(*document));
      case EditOperation::CREATE:
        return Create(std::move(*document));
      default:
        return {
            Refused("a document says what to put in: delete and remove take a path", Where(), {})};
    }
  }

  Problems Merge(Tree document) {
    draft_.TakeWhatIsIn(document.get());
    lyd_node* merged = tree_.release();
    const LY_ERR result = lyd_merge_siblings(&merged, document.release(), LYD_MERGE_DESTRUCT);
    tree_.reset(merged);
    CheckYang(result, model_.Context(), "merge a document");
    return {};
  }

  Problems Replace(Tree document) {
    if (path_.empty()) {
      draft_.Replace(std::move(document));
      return {};
    }
    draft_.Take(path_);
    if (lyd_node* old = Find(tree_.get(), path_)) {
      Remove(tree_, old);
    }
    InstancePath above = path_;
    above.pop_back();
    lyd_node* parent = above.empty() ? nullptr : FindOrMake(tree_, above, nullptr);
    lyd_node* node = Find(document.get(), path_);
    if (node == document.get()) {
      static_cast<void>(document.release());
      document.reset(node->next);
    }
    lyd_unlink_tree(node);
    Insert(tree_, parent, node);
    return {};
  }

  // The nodes that a document creates are those below the containers that are
  // always there.
  Problems Create(Tree document) {
    Problems problems;
    draft_.TakeWhatIsIn(document.get());
    if (!path_.empty()) {
      RefuseExisting(Find(tree_.get(), path_), problems);
    } else {
      RefuseExistingIn(document.get(), nullptr, problems);
    }
    return problems.empty() ? Merge(std::move(document)) : problems;
  }

  static void RefuseExisting(const lyd_node* node, Problems& problems) {
    if (Exists(node)) {
      problems.push_back(Refused("it exists already", PathOf(*node), "data-exists"));
    }
  }

  void RefuseExistingIn(const lyd_node* siblings, const lyd_node* parent,
                        Problems& problems) const {
    const lyd_node* mine = parent != nullptr ? lyd_child(parent) : tree_.get();
    for (const lyd_node* node = siblings; node != nullptr; node = node->next) {
      lyd_node* match = nullptr;
      if (mine != nullptr) {
        lyd_find_sibling_first(mine, node, &match);
      }
      if (match != nullptr && lysc_is_np_cont(node->schema)) {
        RefuseExistingIn(lyd_child(node), match, problems);
      } else {
        RefuseExisting(match, problems);
      }
    }
  }

  const Model& model_;
  Draft& draft_;
  Tree& tree_;
  const EditOperation& edit_;
  InstancePath path_;
  std::string value_;
};

}  // namespace

Problems ApplyEdits(const Model& model, Draft& draft, const cfm::agent::Edit& edit) {
  for (const EditOperation& each : edit.operations()) {
    if (Problems problems = Operation(model, draft, each).Apply(); !problems.empty()) {
      return problems;
    }
  }
  SortInstances(draft.Data());
  return {};
}

}  // namespace agentd
