// Finding and making instances in a data tree. Every look-up goes through
// libyang's hash tables, so a list of thousands costs no more than one of ten.
#ifndef AGENT_NODES_H
#define AGENT_NODES_H

#include "instance_path.h"
#include "yang.h"

namespace agentd {

// Instance of `step` among the children of `parent`, or among the top-level
// nodes from `top` on when that is null. A step on a list without keys finds
// nothing. Null when there is none.
lyd_node* FindChild(const lyd_node* top, const lyd_node* parent, const PathStep& step);

// Instance at the path. Null when there is none.
lyd_node* Find(const lyd_node* top, const InstancePath& path);

// Instance at the path, made when it is missing, as is what it stands in.
// `value` is canonical and for a new leaf.
lyd_node* FindOrMake(Tree& tree, const InstancePath& path, const char* value);

// The instance of `step` below `parent`, which has none yet.
lyd_node* Make(Tree& tree, lyd_node* parent, const PathStep& step, const char* value);

// Takes a subtree out and frees it.
void Remove(Tree& tree, lyd_node* node);
// Puts a subtree that stands nowhere below `parent`.
void Insert(Tree& tree, lyd_node* parent, lyd_node* node);

// Puts the instances of every list and leaf-list in order (CompareInstances),
// so that the same configuration reads the same however it came about:
// libyang keeps the order of arrival. One pass where all is in order already.
void SortInstances(const Tree& tree);
// The same for what stands directly below `parent`.
void SortChildren(lyd_node* parent);

}  // namespace agentd

#endif
