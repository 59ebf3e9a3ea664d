#include "loader.h"

#include "instance_path.h"
#include "nodes.h"
#include "values.h"

namespace agentd {
namespace {

// Rows come in the order of their paths, so most share all but their last
// steps with the row before: those nodes are at hand and are not looked up
// again.
class Loader {
 public:
  explicit Loader(const Model& model) : model_(model) {}

  void Add(std::string_view text, std::string_view value) {
    if (!problems_.empty()) {
      return;
    }
    auto path = ParsePath(model_, text);
    if (!path) {
      problems_ = path.Why();
      return;
    }
    const lysc_node& schema = *path->back().schema;
    std::string canonical;
    if (schema.nodetype == LYS_LEAF) {
      auto checked = Canonical(model_, schema, value, std::string(text));
      if (!checked) {
        problems_ = checked.Why();
        return;
      }
      canonical = std::move(*checked);
    }
    Put(*path, canonical);
  }

  Result<Tree> Finish() {
    if (!problems_.empty()) {
      return problems_;
    }
    SortInstances(tree_);
    return std::move(tree_);
  }

 private:
  void Put(const InstancePath& path, const std::string& value) {
    std::size_t shared = 0;
    while (shared < at_hand_.size() && shared < path.size() &&
           Same(at_hand_[shared].step, path[shared])) {
      ++shared;
    }
    at_hand_.resize(shared);
    for (std::size_t i = shared; i < path.size(); ++i) {
      lyd_node* parent = at_hand_.empty() ? nullptr : at_hand_.back().node;
      lyd_node* node = FindChild(tree_.get(), parent, path[i]);
      at_hand_.push_back(
          {path[i], node != nullptr ? node : Make(tree_, parent, path[i], value.c_str())});
    }
  }

  static bool Same(const PathStep& a, const PathStep& b) {
    return a.schema == b.schema && a.keys == b.keys;
  }

  struct Step {
    PathStep step;
    lyd_node* node = nullptr;
  };

  const Model& model_;
  Tree tree_;
  std::vector<Step> at_hand_;
  Problems problems_;
};

}  // namespace

Result<Tree> LoadTree(const Model& model, Store& store) {
  Loader loader(model);
  store.ForEachRow(
      [&loader](std::string_view path, std::string_view value) { loader.Add(path, value); });
  return loader.Finish();
}

}  // namespace agentd
