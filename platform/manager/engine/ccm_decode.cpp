#include <algorithm>
#include <array>

#include "ccm.h"
#include "sender_id.h"
#include "tlv.h"

namespace cfm::engine {
namespace {

using Reason = std::string_view;  // empty: nothing is wrong

Reason TakeHeader(ByteReader& reader, const CfmFrame& frame, Ccm& ccm) {
  ccm.level = reader.U8() >> 5;
  reader.U8();  // opcode
  const std::uint8_t flags = reader.U8();
  const std::size_t first_tlv_offset = reader.U8();
  ccm.rdi = (flags & kRdiFlag) != 0;
  ccm.interval = flags & kIntervalMask;
  ccm.sequence_number = reader.U32();
  ccm.mep_id = reader.U16();
  std::ranges::copy(reader.Take(ccm.maid.size()), ccm.maid.begin());
  reader.Take(kItuOctets);
  if (reader.Failed()) {
    return "shorter than a CCM";
  }
  if (frame.group != ccm.level) {
    return "destination address of another level";
  }
  if ((frame.source.octets[0] & 1) != 0) {
    return "source is a group address";
  }
  if (first_tlv_offset < kCcmFirstTlvOffset) {
    return "First TLV Offset too small";
  }
  reader.Take(first_tlv_offset - kCcmFirstTlvOffset);
  return reader.Failed() ? "First TLV Offset past the end" : Reason{};
}

Reason CheckFields(const Ccm& ccm) {
  if (ccm.interval == 0) {
    return "no CCM interval";
  }
  if (ccm.mep_id == 0 || ccm.mep_id > kLargestMepId) {
    return "MEP id out of range";
  }
  return IsWellFormed(ccm.maid) ? Reason{} : "MAID of impossible lengths";
}

// A one-octet enumeration from 1 to `last`.
template <typename Status>
bool TakeStatus(ByteView value, Status last, Status& status) {
  if (value.size() != 1 || value[0] < 1 || value[0] > static_cast<int>(last)) {
    return false;
  }
  status = static_cast<Status>(value[0]);
  return true;
}

Reason TakeTlv(std::uint8_t type, ByteView value, Ccm& ccm) {
  switch (static_cast<Tlv>(type)) {
    case Tlv::kPortStatus:
      return TakeStatus(value, PortStatus::kUp, ccm.port_status) ? Reason{} : "bad Port Status TLV";
    case Tlv::kInterfaceStatus:
      return TakeStatus(value, InterfaceStatus::kIsLowerLayerDown, ccm.interface_status)
                 ? Reason{}
                 : "bad Interface Status TLV";
    case Tlv::kSenderId:
      return DecodeSenderId(value, ccm.sender_id) ? Reason{} : "bad Sender ID TLV";
    case Tlv::kEnd:
      break;
  }
  return {};
}

Reason TakeTlvs(ByteReader& reader, Ccm& ccm) {
  while (reader.Left() > 0) {
    const std::uint8_t type = reader.U8();
    if (type == static_cast<std::uint8_t>(Tlv::kEnd)) {
      return {};
    }
    const std::size_t length = reader.U16();
    const ByteView value = reader.Take(length);
    if (reader.Failed()) {
      return "TLV past the end";
    }
    if (const Reason reason = TakeTlv(type, value, ccm); !reason.empty()) {
      return reason;
    }
  }
  return {};
}

}  // namespace

Nanoseconds IntervalTime(std::uint8_t interval) {
  using namespace std::chrono_literals;
  // 3 1/3 ms: the standard's 300 a second.
  static constexpr std::array<Nanoseconds, 8> kTimes = {0ns,    3333333ns, 10ms, 100ms,
                                                        1000ms, 10s,       1min, 10min};
  return interval < kTimes.size() ? kTimes[interval] : 0ns;
}

std::variant<Ccm, MalformedCcm> DecodeCcm(const CfmFrame& frame) {
  Ccm ccm;
  ByteReader reader(frame.pdu);
  Reason reason = TakeHeader(reader, frame, ccm);
  if (reason.empty()) {
    reason = CheckFields(ccm);
  }
  if (reason.empty()) {
    reason = TakeTlvs(reader, ccm);
  }
  if (!reason.empty()) {
    return MalformedCcm{reason};
  }
  return ccm;
}

}  // namespace cfm::engine
