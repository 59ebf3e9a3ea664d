#include "confinement.h"

#include <algorithm>
#include <string_view>

namespace agentd {
namespace {

using lysc_nodes = std::vector<const lysc_node*>;

bool IsConfiguration(const lysc_node& node) {
  return (node.flags & LYS_CONFIG_W) != 0;
}

// `node` and the configuration below it.
void Collect(const lysc_node& node, lysc_nodes& nodes) {
  if (!IsConfiguration(node)) {
    return;
  }
  nodes.push_back(&node);
  for (const lysc_node* child = lysc_node_child(&node); child != nullptr; child = child->next) {
    Collect(*child, nodes);
  }
}

bool IsWithin(const lysc_node* node, const lysc_node& top) {
  while (node != nullptr && node != &top) {
    node = node->parent;
  }
  return node != nullptr;
}

// Siblings of an entry are entries of the same list, so the schema nodes of an
// expression do not tell that it goes there.
bool VisitsSiblings(const lyxp_expr* expression) {
  const std::string_view text = lyxp_get_expr(expression);
  return text.find("following") != text.npos || text.find("preceding") != text.npos;
}

bool StaysWithin(const lysc_node& list, const lysc_node* context, const lysc_node& node,
                 const lyxp_expr* expression, const lysc_prefix* prefixes) {
  ly_set* atoms = nullptr;
  const LY_ERR result = lys_find_expr_atoms(context, node.module, expression, prefixes, 0, &atoms);
  bool stays = result == LY_SUCCESS && !VisitsSiblings(expression);
  for (std::uint32_t i = 0; stays && i < atoms->count; ++i) {
    stays = IsWithin(atoms->snodes[i], list);
  }
  ly_set_free(atoms, nullptr);
  return stays;
}

bool TypeStaysWithin(const lysc_node& list, const lysc_node& node, const lysc_type& type) {
  switch (type.basetype) {
    case LY_TYPE_INST:
      return false;
    case LY_TYPE_LEAFREF: {
      const auto& reference = reinterpret_cast<const lysc_type_leafref&>(type);
      return StaysWithin(list, &node, node, reference.path, reference.prefixes);
    }
    case LY_TYPE_UNION: {
      const auto& members = reinterpret_cast<const lysc_type_union&>(type).types;
      return std::all_of(members, members + LY_ARRAY_COUNT(members), [&](const lysc_type* member) {
        return TypeStaysWithin(list, node, *member);
      });
    }
    default:
      return true;
  }
}

bool ValuesStayWithin(const lysc_node& list, const lysc_node& node) {
  switch (node.nodetype) {
    case LYS_LEAF:
      return TypeStaysWithin(list, node, *reinterpret_cast<const lysc_node_leaf&>(node).type);
    case LYS_LEAFLIST:
      return TypeStaysWithin(list, node, *reinterpret_cast<const lysc_node_leaflist&>(node).type);
    default:
      return true;
  }
}

bool ConditionsStayWithin(const lysc_node& list, const lysc_node& node) {
  const lysc_must* musts = lysc_node_musts(&node);
  LY_ARRAY_COUNT_TYPE i = 0;
  LY_ARRAY_FOR(musts, i) {
    if (!StaysWithin(list, &node, node, musts[i].cond, musts[i].prefixes)) {
      return false;
    }
  }
  lysc_when** whens = lysc_node_when(&node);
  LY_ARRAY_FOR(whens, i) {
    if (!StaysWithin(list, whens[i]->context, node, whens[i]->cond, whens[i]->prefixes)) {
      return false;
    }
  }
  return true;
}

bool HasConstraint(const lysc_node& node) {
  return (node.flags & LYS_MAND_TRUE) != 0 || lysc_node_musts(&node) != nullptr ||
         lysc_node_when(&node) != nullptr;
}

bool IsConfined(const lysc_node& list, const lysc_nodes& all) {
  const auto& itself = reinterpret_cast<const lysc_node_list&>(list);
  if ((list.flags & (LYS_KEYLESS | LYS_ORDBY_USER)) != 0 || itself.uniques != nullptr ||
      itself.min > 0 || itself.max < UINT32_MAX) {
    return false;
  }
  return std::all_of(all.begin(), all.end(), [&list](const lysc_node* node) {
    return IsWithin(node, list) ? ConditionsStayWithin(list, *node) && ValuesStayWithin(list, *node)
                                : !HasConstraint(*node);
  });
}

// The lists that no other list and no presence container stands above.
bool IsOutermostList(const lysc_node& node) {
  if (node.nodetype != LYS_LIST) {
    return false;
  }
  for (const lysc_node* above = node.parent; above != nullptr; above = above->parent) {
    if (above->nodetype != LYS_CONTAINER || (above->flags & LYS_PRESENCE) != 0) {
      return false;
    }
  }
  return true;
}

}  // namespace

const lysc_node* FindConfinedList(const std::vector<const lysc_module*>& modules) {
  lysc_nodes all;
  for (const lysc_module* module : modules) {
    for (const lysc_node* node = module->data; node != nullptr; node = node->next) {
      Collect(*node, all);
    }
  }
  const auto found = std::find_if(all.begin(), all.end(), [&all](const lysc_node* node) {
    return IsOutermostList(*node) && IsConfined(*node, all);
  });
  return found != all.end() ? *found : nullptr;
}

}  // namespace agentd
