#include "cfm_frame.h"

#include <algorithm>
#include <array>

namespace cfm::engine {
namespace {

constexpr std::array<std::uint8_t, 5> kGroupPrefix = {0x01, 0x80, 0xc2, 0x00, 0x00};
constexpr std::uint8_t kGroupBase = 0x30;
constexpr std::uint16_t kVlanTag = 0x8100;
constexpr std::uint16_t kCfmEtherType = 0x8902;
// Continuity must not depend on how busy the lower priorities are.
constexpr unsigned kPriority = 7;

}  // namespace

std::optional<CfmFrame> ParseCfmFrame(ByteView frame) {
  ByteReader reader(frame);
  const ByteView prefix = reader.Take(kGroupPrefix.size());
  const std::uint8_t last = reader.U8();
  CfmFrame parsed;
  parsed.group = last & 0x0f;
  std::ranges::copy(reader.Take(sizeof parsed.source.octets), parsed.source.octets);
  const std::uint16_t tag = reader.U16();
  parsed.vlan = reader.U16() & 0x0fff;
  const std::uint16_t ether_type = reader.U16();
  parsed.pdu = reader.Take(reader.Left());
  if (reader.Failed() || !std::ranges::equal(prefix, kGroupPrefix) || (last & 0xf0) != kGroupBase ||
      tag != kVlanTag || ether_type != kCfmEtherType || parsed.pdu.size() < 2) {
    return std::nullopt;
  }
  parsed.level = parsed.pdu[0] >> 5;
  parsed.opcode = parsed.pdu[1];
  return parsed;
}

void AppendCfmHeader(Bytes& frame, std::uint8_t level, const st_mac& source, std::uint16_t vlan) {
  AppendBytes(frame, kGroupPrefix);
  AppendU8(frame, kGroupBase + level);
  AppendBytes(frame, source.octets);
  AppendU16(frame, kVlanTag);
  AppendU16(frame, kPriority << 13 | vlan);
  AppendU16(frame, kCfmEtherType);
}

}  // namespace cfm::engine
