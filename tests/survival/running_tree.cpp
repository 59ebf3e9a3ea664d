#include "running_tree.h"

#include <functional>
#include <map>
#include <string>

#include "failure.h"

namespace survival {
namespace {

using cfm::agent::Node;

// What to do with the children of a node, by name.
using Takers = std::map<std::string, std::function<void(const Node&)>>;

void TakeChildren(const Node& node, const Takers& takers) {
  for (const Node& child : node.children()) {
    const auto taker = takers.find(child.name());
    if (taker == takers.end()) {
      throw Failure("the running configuration has an unknown node " + child.name());
    }
    taker->second(child);
  }
}

int Number(const Node& leaf) {
  return std::stoi(leaf.value());
}

std::string KeyOf(const Node& entry) {
  return entry.children(0).value();
}

test::ContinuityCheck CheckIn(const Node& node) {
  test::ContinuityCheck check;
  TakeChildren(
      node, {{"cci-enabled", [&](const Node&) { check.cci_enabled = true; }},
             {"lowest-fault-priority-defect",
              [&](const Node& leaf) { check.lowest_fault_priority_defect = leaf.value(); }},
             {"fault-alarm-time", [&](const Node& leaf) { check.fault_alarm_time = Number(leaf); }},
             {"fault-reset-time", [&](const Node& leaf) { check.fault_reset_time = Number(leaf); }},
             {"fault-action", [&](const Node& leaf) { check.fault_action = leaf.value(); }}});
  return check;
}

test::Mep MepIn(const Node& node) {
  test::Mep mep;
  TakeChildren(
      node,
      {{"id", [](const Node&) {}},
       {"interface", [&](const Node& leaf) { mep.interface = leaf.value(); }},
       {"direction", [&](const Node& leaf) { mep.direction = leaf.value(); }},
       {"primary-vlan-id", [&](const Node& leaf) { mep.primary_vlan_id = Number(leaf); }},
       {"continuity-check", [&](const Node& child) { mep.continuity_check = CheckIn(child); }}});
  return mep;
}

test::Ma MaIn(const Node& node) {
  test::Ma ma;
  TakeChildren(
      node, {{"id", [](const Node&) {}},
             {"ccm-interval", [&](const Node& leaf) { ma.ccm_interval = leaf.value(); }},
             {"primary-vlan-id", [&](const Node& leaf) { ma.primary_vlan_id = Number(leaf); }},
             {"vlan-list", [&](const Node& leaf) { ma.vlan_list.insert(Number(leaf)); }},
             {"remote-meps", [&](const Node& leaf) { ma.remote_meps.insert(Number(leaf)); }},
             {"mep", [&](const Node& entry) { ma.meps[std::stoi(KeyOf(entry))] = MepIn(entry); }}});
  return ma;
}

test::Md MdIn(const Node& node) {
  test::Md md;
  TakeChildren(node, {{"id", [](const Node&) {}},
                      {"level", [&](const Node& leaf) { md.level = Number(leaf); }},
                      {"ma", [&](const Node& entry) { md.mas[KeyOf(entry)] = MaIn(entry); }}});
  return md;
}

// Containers down to the list of MDs.
void TakeMds(const Node& node, test::Configuration& configuration) {
  if (node.kind() == Node::LIST_ENTRY) {
    configuration[KeyOf(node)] = MdIn(node);
    return;
  }
  for (const Node& child : node.children()) {
    TakeMds(child, configuration);
  }
}

}  // namespace

test::Configuration ConfigurationIn(const Node& root) {
  test::Configuration configuration;
  TakeMds(root, configuration);
  return configuration;
}

}  // namespace survival
