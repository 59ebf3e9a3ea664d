// Nodes of a configuration as programs on the ConfD API read them.
#ifndef AGENT_DATA_NODES_H
#define AGENT_DATA_NODES_H

#include <functional>

#include "agent.pb.h"
#include "model.h"
#include "snapshot.h"

namespace agentd {

class DataNodes {
 public:
  using DataNode = cfm::agent::DataNode;
  // Called for a container with the node that is to hold it. True: it was
  // filled; else it gets its own nodes.
  using OnContainer = std::function<bool(const lyd_node& container, DataNode& out)>;

  // Both outlive the object.
  DataNodes(const Model& model, const Snapshot& state) : model_(model), state_(state) {}

  // Name, tag and keys.
  void Head(const lyd_node& node, DataNode& out) const;
  // Everything of a node but the entries of its lists (DataNode::OWN_NODES).
  void Own(const lyd_node& node, DataNode& out, const OnContainer& on_container) const;
  // With its head and all that is below it.
  void Whole(const lyd_node& node, DataNode& out) const;

 private:
  template <typename Inner>
  void Children(const lyd_node& node, DataNode& out, const Inner& inner) const;

  const Model& model_;
  const Snapshot& state_;
};

}  // namespace agentd

#endif
