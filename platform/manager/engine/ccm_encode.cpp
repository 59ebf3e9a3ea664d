#include "ccm.h"
#include "sender_id.h"
#include "tlv.h"

namespace cfm::engine {
namespace {

void AppendTlvHeader(Bytes& frame, Tlv type, std::size_t length) {
  AppendU8(frame, static_cast<unsigned>(type));
  AppendU16(frame, static_cast<unsigned>(length));
}

template <typename Status>
void AppendStatusTlv(Bytes& frame, Tlv type, Status status) {
  if (status != Status::kNoTlv) {
    AppendTlvHeader(frame, type, 1);
    AppendU8(frame, static_cast<unsigned>(status));
  }
}

void AppendSenderIdTlv(Bytes& frame, const std::string& sender_id) {
  if (!sender_id.empty()) {
    const Bytes value = EncodeSenderId(sender_id);
    AppendTlvHeader(frame, Tlv::kSenderId, value.size());
    AppendBytes(frame, value);
  }
}

}  // namespace

Bytes EncodeCcm(const Ccm& ccm, const st_mac& source, std::uint16_t vlan) {
  Bytes frame;
  frame.reserve(128);
  AppendCfmHeader(frame, ccm.level, source, vlan);
  AppendU8(frame, unsigned{ccm.level} << 5);  // version 0
  AppendU8(frame, kCcmOpcode);
  AppendU8(frame, (ccm.rdi ? kRdiFlag : 0U) | ccm.interval);
  AppendU8(frame, kCcmFirstTlvOffset);
  AppendU32(frame, ccm.sequence_number);
  AppendU16(frame, ccm.mep_id);
  AppendBytes(frame, ccm.maid);
  frame.insert(frame.end(), kItuOctets, 0);
  AppendSenderIdTlv(frame, ccm.sender_id);
  AppendStatusTlv(frame, Tlv::kPortStatus, ccm.port_status);
  AppendStatusTlv(frame, Tlv::kInterfaceStatus, ccm.interface_status);
  AppendU8(frame, static_cast<unsigned>(Tlv::kEnd));
  return frame;
}

}  // namespace cfm::engine
