#include "hierarchy_diff.h"

#include <tuple>

namespace cfm {
namespace {

// Own fields of a node, to be compared as a whole.
auto Fields(const hierarchy_mep& mep) {
  return std::tie(mep.md, mep.ma, mep.mep_id, mep.direction, mep.logical_interface_id,
                  mep.primary_vlan_id, mep.fixed_byte_1, mep.cci_enabled, mep.fixed_byte_2,
                  mep.lowest_fault_priority_defect, mep.fault_alarm_time, mep.fault_reset_time,
                  mep.fault_action);
}

auto Fields(const hierarchy_ma& ma) {
  return std::tie(ma.md, ma.association.name_format, ma.association.vlan_list,
                  ma.association.ccm_interval, ma.association.mep_ids, ma.fixed_word_1,
                  ma.fixed_word_2);
}

auto Fields(const hierarchy_md& md) {
  return std::tie(md.name_format, md.level, md.fixed_word_1, md.fixed_word_2);
}

// Walks two maps side by side. One of the two nodes is null when only the
// other map has the key.
template <typename Map, typename Visit>
void WalkBoth(const Map& before, const Map& after, Visit visit) {
  auto old_node = before.begin();
  auto new_node = after.begin();
  while (old_node != before.end() || new_node != after.end()) {
    const bool only_old =
        new_node == after.end() || (old_node != before.end() && old_node->first < new_node->first);
    const bool only_new =
        old_node == before.end() || (new_node != after.end() && new_node->first < old_node->first);
    visit(only_new ? nullptr : &old_node->second, only_old ? nullptr : &new_node->second);
    if (!only_new) {
      ++old_node;
    }
    if (!only_old) {
      ++new_node;
    }
  }
}

template <typename Node>
void Count(const Node* before, const Node* after, NodeChanges& changes) {
  if (before == nullptr) {
    ++changes.added;
  } else if (after == nullptr) {
    ++changes.removed;
  } else if (Fields(*before) != Fields(*after)) {
    ++changes.changed;
  }
}

// The map below a node that may be missing.
template <typename Node, typename Map>
const Map& Below(const Node* node, Map Node::*children) {
  static const Map kNone;
  return node == nullptr ? kNone : node->*children;
}

}  // namespace

HierarchyChanges CompareHierarchies(const Hierarchy& before, const Hierarchy& after) {
  HierarchyChanges changes;
  const auto on_mep = [&](const hierarchy_mep* old_mep, const hierarchy_mep* new_mep) {
    Count(old_mep, new_mep, changes.meps);
  };
  const auto on_ma = [&](const hierarchy_ma* old_ma, const hierarchy_ma* new_ma) {
    Count(old_ma, new_ma, changes.mas);
    WalkBoth(Below(old_ma, &hierarchy_ma::meps), Below(new_ma, &hierarchy_ma::meps), on_mep);
  };
  const auto on_md = [&](const hierarchy_md* old_md, const hierarchy_md* new_md) {
    Count(old_md, new_md, changes.mds);
    WalkBoth(Below(old_md, &hierarchy_md::mas), Below(new_md, &hierarchy_md::mas), on_ma);
  };
  WalkBoth(before, after, on_md);
  return changes;
}

HierarchySize CountNodes(const Hierarchy& hierarchy) {
  HierarchySize size;
  size.mds = hierarchy.size();
  for (const auto& [md_name, md] : hierarchy) {
    size.mas += md.mas.size();
    for (const auto& [ma_name, ma] : md.mas) {
      size.meps += ma.meps.size();
    }
  }
  return size;
}

}  // namespace cfm
