// A successor of the running configuration in the making.
//
// It holds copies of those parts only that its edits can touch, so that what a
// change costs follows the change. A part is one entry of the list that the
// model's constraints are confined to (confinement.h). An edit that goes
// anywhere else takes the whole configuration.
#ifndef AGENT_DRAFT_H
#define AGENT_DRAFT_H

#include <set>
#include <string>
#include <vector>

#include "instance_path.h"
#include "snapshot.h"

namespace agentd {

class Draft {
 public:
  // Nothing of `base` is copied yet.
  Draft(const Model& model, SnapshotPtr base);
  Draft Copy() const;

  const SnapshotPtr& Base() const { return base_; }
  // Without its base a draft keeps nobody from changing that in place; it can
  // only be attached again, to a configuration that says the same.
  void Detach() { base_.reset(); }
  void Attach(SnapshotPtr base) { base_ = std::move(base); }

  // What was taken, with the edits that were made.
  const Tree& Data() const { return tree_; }
  Tree& Data() { return tree_; }
  bool IsWhole() const { return is_whole_; }

  // To be called before an edit: takes what an edit at the path, or a merge of
  // the document, can touch.
  void Take(const InstancePath& path);
  void TakeWhatIsIn(const lyd_node* document);
  // The configuration is what the tree says, and nothing else.
  void Replace(Tree tree);

  // What was taken, as it is in the base, with its implicit nodes.
  Tree Before() const;
  // The whole configuration as the edits make it.
  Tree Complete() const;
  // Puts the parts into a configuration that is like the base.
  void MoveInto(Tree& tree) &&;

 private:
  using Keys = std::vector<std::string>;

  Draft(const Model* model, SnapshotPtr base, Tree tree, std::set<Keys> parts, bool is_whole);
  void TakeAll();
  void TakePart(const Keys& keys);
  void TakeAlong(std::size_t depth, const lyd_node* siblings);
  // The containers above the parts.
  Tree Frame() const;
  static void CopyInto(lyd_node* parent, const lyd_node* part);
  InstancePath PathTo(const Keys& keys) const;

  const Model* model_;
  SnapshotPtr base_;
  Tree tree_;
  std::set<Keys> parts_;
  bool is_whole_;
};

}  // namespace agentd

#endif
