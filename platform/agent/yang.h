// Owners of libyang's objects, and its errors as text. One process has one
// context; whatever fails leaves its reasons in the context's error list.
#ifndef AGENT_YANG_H
#define AGENT_YANG_H

#include <libyang/libyang.h>

#include <memory>
#include <string>

#include "problem.h"

namespace agentd {

struct DestroyContext {
  void operator()(ly_ctx* context) const { ly_ctx_destroy(context); }
};
using ContextPtr = std::unique_ptr<ly_ctx, DestroyContext>;

// lyd_free_all: the whole tree that the node is in, its siblings included.
struct FreeTree {
  void operator()(lyd_node* node) const { lyd_free_all(node); }
};
using Tree = std::unique_ptr<lyd_node, FreeTree>;

// lyd_dup_siblings of a whole tree, flags included.
Tree CopyTree(const lyd_node* tree);

// Name of a list, container or leaf in an owner's text.
inline std::string NameOf(const lysc_node& schema) {
  return schema.name;
}

// Whether the node says something: implicit default leaves do not, nor do
// containers without presence in which nothing is said.
inline bool IsExplicit(const lyd_node& node) {
  return (node.flags & LYD_DEFAULT) == 0;
}

// lysc_is_key, which as a macro takes plain names only.
inline bool IsKey(const lysc_node& schema) {
  const lysc_node* node = &schema;
  return lysc_is_key(node);
}
inline bool IsPresenceContainer(const lysc_node& schema) {
  return schema.nodetype == LYS_CONTAINER && (schema.flags & LYS_PRESENCE) != 0;
}
inline bool IsEmptyLeaf(const lysc_node& schema) {
  return schema.nodetype == LYS_LEAF &&
         reinterpret_cast<const lysc_node_leaf&>(schema).type->basetype == LY_TYPE_EMPTY;
}

// Takes the errors that the last calls left in the context. Never empty:
// `otherwise` is the message when libyang said nothing.
Problems TakeErrors(ly_ctx* context, const std::string& otherwise);

// Throws std::runtime_error with the context's errors unless `result` is
// LY_SUCCESS: for calls that fail for want of memory only.
void CheckYang(LY_ERR result, const ly_ctx* context, const char* operation);

}  // namespace agentd

#endif
