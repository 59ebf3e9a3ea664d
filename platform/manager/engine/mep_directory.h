// Which MEP a frame meets. A MEP takes in the CFM frames of its VLANs that are
// of its level or a lower one, from its own side; on its other side it holds
// them back. Higher ones pass (IEEE 802.1Q clauses 19.2 and 22.1).
#ifndef CFM_ENGINE_MEP_DIRECTORY_H
#define CFM_ENGINE_MEP_DIRECTORY_H

#include <cstdint>
#include <span>
#include <unordered_map>
#include <vector>

#include "mep.h"

namespace cfm::engine {

class MepDirectory {
 public:
  // Borrows the MEP, whose settings stay as they are until Clear.
  void Add(Mep& mep);
  void Clear();

  // Of the MEPs of one direction the first on a frame's way that does not let
  // it pass, which is the one of the lowest level that is not below the
  // frame's. Null when all do.
  Mep* FirstInTheWay(PortId port, bool up, std::uint16_t vlan, std::uint8_t level) const;
  // Ports with up MEPs in the VLAN, each once.
  std::span<const PortId> PortsWithUpMeps(std::uint16_t vlan) const;
  std::span<Mep* const> MepsOfPort(PortId port) const;

 private:
  std::unordered_map<std::uint64_t, std::vector<Mep*>> meps_;  // by place; levels ascend
  std::unordered_map<std::uint16_t, std::vector<PortId>> up_ports_;
  std::unordered_map<PortId, std::vector<Mep*>> by_port_;
};

}  // namespace cfm::engine

#endif
