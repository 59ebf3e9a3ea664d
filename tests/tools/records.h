// Status records as the agent would answer them.
#ifndef TESTS_TOOLS_RECORDS_H
#define TESTS_TOOLS_RECORDS_H

#include "trees.h"

namespace test {

inline void SetLeaf(TreeNode& record, const std::string& name, const std::string& value) {
  for (TreeNode& child : record.children) {
    if (child.name == name) {
      child.value = value;
      return;
    }
  }
  record.children.push_back(Leaf(name, value));
}

// What is written of the local MEP 5 of the MA blue.
inline TreeNode LocalRecord(const std::string& id = "0", const std::string& mep = "5") {
  return Entry("local", {Leaf("id", id), Leaf("md", "east"), Leaf("ma", "blue"), Leaf("mep", mep),
                         Leaf("mac-address", "02:00:00:00:00:05"), Leaf("tx-rdi", "false"),
                         Leaf("defects", "-"), Leaf("highest-priority-defect", "-"),
                         Leaf("tx-interface-status-tlv", "up"), Leaf("tx-port-status-tlv", "up"),
                         Leaf("block-state", "Forwarding")});
}

// With what is computed.
inline TreeNode WholeLocalRecord() {
  TreeNode record = LocalRecord();
  for (const TreeNode& leaf :
       {Leaf("level", "3"), Leaf("ccm-interval", "1s"), Leaf("primary-vlan-id", "20"),
        Leaf("direction", "down"), Leaf("interface", "ge1"), Leaf("fault-alarm-time", "2500ms"),
        Leaf("fault-reset-time", "10000ms"), Element("vlan-list", "10"), Element("vlan-list", "20"),
        Element("remote-mep-ids", "7"), Leaf("mep-ccms-sent", "18446744073709551615"),
        Leaf("mep-ccms-received", "98"), Leaf("mep-ccm-sequence-errors", "2")}) {
    record.children.push_back(leaf);
  }
  return record;
}

// What is written of the remote MEP 7 that the local MEP 5 sees.
inline TreeNode RemoteRecord(const std::string& id = "1", const std::string& mep = "7") {
  return Entry(
      "remote",
      {Leaf("id", id), Leaf("md", "east"), Leaf("ma", "blue"), Leaf("local-mep", "5"),
       Leaf("remote-mep", mep), Leaf("mac-address", "02:00:00:00:00:07"), Leaf("rx-rdi", "false"),
       Leaf("rx-interface-status-tlv", "up"), Leaf("rx-port-status-tlv", "no-tlv"),
       Leaf("state", "rmep-ok"), Leaf("rx-sender-id", "ring & <east>")});
}

inline TreeNode WholeRemoteRecord() {
  TreeNode record = RemoteRecord();
  record.children.push_back(Leaf("last-state-change", "1h 2min 5s ago"));
  record.children.push_back(Leaf("rmep-ccms-received", "97"));
  return record;
}

inline TreeNode With(TreeNode record, const std::string& leaf, const std::string& value) {
  SetLeaf(record, leaf, value);
  return record;
}

inline std::string LocalPath(int id) {
  return "/status/oam/cfm/local[id='" + std::to_string(id) + "']";
}
inline std::string RemotePath(int id) {
  return "/status/oam/cfm/remote[id='" + std::to_string(id) + "']";
}

}  // namespace test

#endif
