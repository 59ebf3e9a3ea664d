// The Continuity Check Message (IEEE 802.1Q clause 21.6): a struct, its octets
// and back. Pure functions; the decoder takes any bytes.
#ifndef CFM_ENGINE_CCM_H
#define CFM_ENGINE_CCM_H

#include <cstdint>
#include <string>
#include <string_view>
#include <variant>

#include "bytes.h"
#include "cfm/records.h"
#include "cfm_frame.h"
#include "maid.h"
#include "moment.h"

namespace cfm::engine {

inline constexpr std::uint16_t kLargestMepId = 8191;
inline constexpr std::size_t kLongestSenderId = 253;

struct Ccm {
  std::uint8_t level = 0;  // 0..7
  bool rdi = false;
  std::uint8_t interval = 0;  // field value 1..7 (table 21-15)
  std::uint32_t sequence_number = 0;
  std::uint16_t mep_id = 0;  // 1..8191
  Maid maid{};
  PortStatus port_status = PortStatus::kNoTlv;
  InterfaceStatus interface_status = InterfaceStatus::kNoTlv;
  // Text of the chassis id; empty: no Sender ID TLV or none in it. Sent as
  // "locally assigned", at most kLongestSenderId octets.
  std::string sender_id = {};

  bool operator==(const Ccm&) const = default;
};

struct MalformedCcm {
  std::string_view reason;  // a literal
};

// Zero for a value that names no interval.
Nanoseconds IntervalTime(std::uint8_t interval);

// The whole frame.
Bytes EncodeCcm(const Ccm& ccm, const st_mac& source, std::uint16_t vlan);

// Checks what clause 20.51 has a receiver check. TLVs of unknown types, later
// versions, reserved bits and longer headers are passed over; without an End
// TLV the message ends where its octets do. `frame` has the CCM opcode.
std::variant<Ccm, MalformedCcm> DecodeCcm(const CfmFrame& frame);

}  // namespace cfm::engine

#endif
