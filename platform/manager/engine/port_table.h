// The element's ports as the engine knows them, and who blocks them.
#ifndef CFM_ENGINE_PORT_TABLE_H
#define CFM_ENGINE_PORT_TABLE_H

#include <cstddef>
#include <cstdint>
#include <unordered_map>

#include "cfm/records.h"
#include "effect.h"

namespace cfm::engine {

struct PortFacts {
  st_mac mac{};
  // What CCMs say of the port; kNoTlv leaves the TLV out. The link is part of
  // the interface status. The port status is the element's own (spanning tree
  // and the like), not the blocking that this engine asks for: two MEPs that
  // block would else hold each other in someMACstatusDefect for good.
  InterfaceStatus interface_status = InterfaceStatus::kNoTlv;
  PortStatus port_status = PortStatus::kNoTlv;
};

class PortTable {
 public:
  // `effects` outlives the table.
  explicit PortTable(Effects& effects) : effects_(effects) {}

  void Set(PortId port, const PortFacts& facts) { facts_[port] = facts; }
  void Remove(PortId port) { facts_.erase(port); }
  // Null when there is no such port; until it is changed.
  const PortFacts* Find(PortId port) const;

  // A port is blocked as long as at least one MEP wants it so.
  void Block(PortId port);
  void Unblock(PortId port);

 private:
  Effects& effects_;
  std::unordered_map<PortId, PortFacts> facts_;
  std::unordered_map<PortId, std::size_t> blockers_;
};

}  // namespace cfm::engine

#endif
