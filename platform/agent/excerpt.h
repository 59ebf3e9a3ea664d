// A part of the configuration for programs that are about to read it: list
// entries with what stands around them.
#ifndef AGENT_EXCERPT_H
#define AGENT_EXCERPT_H

#include <unordered_map>

#include "data_nodes.h"

namespace agentd {

class Excerpt {
 public:
  // Both outlive the object.
  Excerpt(const Model& model, const Snapshot& state) : nodes_(model, state) {}

  // Adds what a Fetch of the node's path answers, once. A leaf-list element
  // stands for the entry that it is in.
  void Add(const lyd_node& node);
  // Trees that begin at top-level nodes; ends the object's use.
  google::protobuf::RepeatedPtrField<cfm::agent::DataNode> Take() { return std::move(trees_); }

 private:
  cfm::agent::DataNode& PlaceOf(const lyd_node& node);

  DataNodes nodes_;
  google::protobuf::RepeatedPtrField<cfm::agent::DataNode> trees_;
  // Containers and entries that are there.
  std::unordered_map<const lyd_node*, cfm::agent::DataNode*> places_;
};

}  // namespace agentd

#endif
