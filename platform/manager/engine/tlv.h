// TLV types of a CCM (IEEE 802.1Q table 21-6).
#ifndef CFM_ENGINE_TLV_H
#define CFM_ENGINE_TLV_H

#include <cstddef>
#include <cstdint>

namespace cfm::engine {

enum class Tlv : std::uint8_t {
  kEnd = 0,
  kSenderId = 1,
  kPortStatus = 2,
  kInterfaceStatus = 4,
};

// Octets between the First TLV Offset field and the first TLV of a CCM.
inline constexpr std::uint8_t kCcmFirstTlvOffset = 70;
// Of them, those that ITU-T Y.1731 defines: zero here.
inline constexpr std::size_t kItuOctets = 16;
inline constexpr std::uint8_t kRdiFlag = 0x80;
inline constexpr std::uint8_t kIntervalMask = 0x07;

}  // namespace cfm::engine

#endif
