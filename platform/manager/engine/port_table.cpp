#include "port_table.h"

namespace cfm::engine {

const PortFacts* PortTable::Find(PortId port) const {
  const auto found = facts_.find(port);
  return found == facts_.end() ? nullptr : &found->second;
}

void PortTable::Block(PortId port) {
  if (++blockers_[port] == 1) {
    effects_.push_back(PortBlock{port, true});
  }
}

void PortTable::Unblock(PortId port) {
  if (--blockers_[port] == 0) {
    blockers_.erase(port);
    effects_.push_back(PortBlock{port, false});
  }
}

}  // namespace cfm::engine
