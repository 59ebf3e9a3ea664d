// Configuration trees as the agent would answer them.
#ifndef TESTS_TOOLS_TREES_H
#define TESTS_TOOLS_TREES_H

#include <string>
#include <utility>
#include <vector>

#include "core/tree.h"

namespace test {

using cfmctl::TreeNode;

inline TreeNode Leaf(std::string name, std::string value) {
  return {TreeNode::Kind::kLeaf, std::move(name), std::move(value), false, {}};
}
inline TreeNode Element(std::string name, std::string value) {
  return {TreeNode::Kind::kLeafListElement, std::move(name), std::move(value), false, {}};
}
inline TreeNode Container(std::string name, std::vector<TreeNode> children) {
  return {TreeNode::Kind::kContainer, std::move(name), "", false, std::move(children)};
}
inline TreeNode Entry(std::string name, std::vector<TreeNode> children) {
  return {TreeNode::Kind::kListEntry, std::move(name), "", false, std::move(children)};
}

inline TreeNode ContinuityCheck() {
  return Container("continuity-check",
                   {Leaf("cci-enabled", ""), Leaf("lowest-fault-priority-defect", "xcon"),
                    Leaf("fault-alarm-time", "3000"), Leaf("fault-reset-time", "9000"),
                    Leaf("fault-action", "block")});
}

inline TreeNode Mep5() {
  return Entry("mep", {Leaf("id", "5"), Leaf("interface", "ge1"), Leaf("direction", "up"),
                       Leaf("primary-vlan-id", "20"), ContinuityCheck()});
}

inline TreeNode MaBlue() {
  return Entry(
      "ma", {Leaf("id", "blue"), Leaf("ccm-interval", "10s"), Leaf("primary-vlan-id", "20"),
             Element("vlan-list", "10"), Element("vlan-list", "20"), Element("vlan-list", "30"),
             Element("remote-meps", "7"), Mep5(),
             Entry("mep", {Leaf("id", "6"), Leaf("interface", "ge9"), Leaf("direction", "down")})});
}

// /config/oam/cfm with an MD east, in it an MA blue, in it MEPs 5 and 6; and
// an MD west without MAs.
inline TreeNode Cfm() {
  return Container("cfm", {Entry("md", {Leaf("id", "east"), Leaf("level", "3"), MaBlue()}),
                           Entry("md", {Leaf("id", "west"), Leaf("level", "5")})});
}

inline TreeNode Root(TreeNode cfm) {
  return Container("", {Container("config", {Container("oam", {std::move(cfm)})})});
}

}  // namespace test

#endif
