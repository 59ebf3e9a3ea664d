// Ethernet around a CFM PDU: the group destination address of its level, one
// C-VLAN tag, the CFM EtherType (IEEE 802.1Q clauses 8.13.10 and 21.4).
#ifndef CFM_ENGINE_CFM_FRAME_H
#define CFM_ENGINE_CFM_FRAME_H

#include <cstdint>
#include <optional>

#include "bytes.h"
#include "cfm/records.h"

namespace cfm::engine {

inline constexpr std::uint8_t kCcmOpcode = 1;

// What is known of a CFM frame before its PDU is judged.
struct CfmFrame {
  st_mac source{};
  // Low four bits of the destination; 0..7: CCMs of that level.
  std::uint8_t group = 0;
  std::uint16_t vlan = 0;  // 0..4095
  std::uint8_t level = 0;  // as the PDU says
  std::uint8_t opcode = 0;
  ByteView pdu;  // from the MD level on; borrows from the frame
};

// Empty when the frame is not a tagged CFM frame to a CFM group address or is
// too short to say its level and opcode.
std::optional<CfmFrame> ParseCfmFrame(ByteView frame);

// What stands before the PDU.
void AppendCfmHeader(Bytes& frame, std::uint8_t level, const st_mac& source, std::uint16_t vlan);

}  // namespace cfm::engine

#endif
