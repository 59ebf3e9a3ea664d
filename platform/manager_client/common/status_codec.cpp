#include "status_codec.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>

#include "frame.h"
#include "manager.pb.h"
#include "node_name.h"

namespace cfm {
namespace {

constexpr std::uint32_t kLargestMepId = 8191;

// Encoding -------------------------------------------------------------------

std::string MacBytes(const st_mac& mac) {
  return {std::begin(mac.octets), std::end(mac.octets)};
}

// Decoding -------------------------------------------------------------------

std::string Text(const manager::MepName& name) {
  const std::string local = MepText(name.md(), name.ma(), name.mep());
  return name.remote_mep() == 0 ? local
                                : fmt::format("remote MEP {} of {}", name.remote_mep(), local);
}

[[noreturn]] void Refuse(const manager::MepName& name, const std::string& what) {
  throw ipc::ProtocolError(Text(name) + ": " + what);
}

RecordName DecodeLocalName(const manager::MepName& message) {
  if (message.remote_mep() != 0) {
    Refuse(message, "this is no record of a remote MEP");
  }
  return DecodeName(message);
}

RecordName DecodeRemoteName(const manager::MepName& message) {
  if (message.remote_mep() == 0) {
    Refuse(message, "the record names no remote MEP");
  }
  return DecodeName(message);
}

st_mac DecodeMac(const std::string& bytes, const manager::MepName& name) {
  st_mac mac{};
  if (bytes.size() != std::size(mac.octets)) {
    Refuse(name, fmt::format("a MAC address of {} bytes", bytes.size()));
  }
  std::copy(bytes.begin(), bytes.end(), std::begin(mac.octets));
  return mac;
}

en_rmep_state DecodeState(std::int32_t state, const manager::MepName& name) {
  if (state < RMEP_IDLE || state > RMEP_OK) {
    Refuse(name, fmt::format("state has no value {}", state));
  }
  return static_cast<en_rmep_state>(state);
}

}  // namespace

void EncodeName(const RecordName& name, manager::MepName& message) {
  message.set_md(name.md);
  message.set_ma(name.ma);
  message.set_mep(name.mep);
  message.set_remote_mep(name.remote);
}

void Encode(const Named<st_lmep_status>& status, manager::LocalStatus& message) {
  const st_lmep_status& record = status.record;
  EncodeName(status.name, *message.mutable_name());
  message.set_mac(MacBytes(record.mac));
  message.set_tx_rdi(record.tx_rdi);
  message.set_tx_interface_status(static_cast<std::int32_t>(record.tx_interface_status));
  message.set_tx_port_status(static_cast<std::int32_t>(record.tx_port_status));
  message.set_block_state(static_cast<std::int32_t>(record.block_state));
  message.set_reserved(record.reserved);
  message.mutable_defects()->Add(std::begin(record.defects), std::end(record.defects));
}

void Encode(const Named<st_rmep_status>& status, manager::RemoteStatus& message) {
  const st_rmep_status& record = status.record;
  EncodeName(status.name, *message.mutable_name());
  message.set_state(record.state);
  message.set_last_state_change(record.last_state_change);
  message.set_mac(MacBytes(record.mac));
  message.set_rx_rdi(record.rx_rdi);
  message.set_rx_port_status(static_cast<std::int32_t>(record.rx_port_status));
  message.set_rx_interface_status(static_cast<std::int32_t>(record.rx_interface_status));
  message.set_sender_id(record.sender_id);
}

void Encode(const Named<st_lmep_stats>& statistics, manager::LocalStatistics& message) {
  EncodeName(statistics.name, *message.mutable_name());
  message.set_counter1(statistics.record.counter1);
  message.set_counter2(statistics.record.counter2);
  message.set_counter3(statistics.record.counter3);
  message.set_counter4(statistics.record.counter4);
}

void Encode(const Named<st_rmep_stats>& statistics, manager::RemoteStatistics& message) {
  EncodeName(statistics.name, *message.mutable_name());
  message.set_rmep_counter(statistics.record.rmep_counter);
}

RecordName DecodeName(const manager::MepName& message) {
  if (message.mep() == 0 || message.mep() > kLargestMepId) {
    Refuse(message, fmt::format("MEP id {} is not 1 to {}", message.mep(), kLargestMepId));
  }
  if (message.remote_mep() > kLargestMepId) {
    Refuse(message,
           fmt::format("remote MEP id {} is more than {}", message.remote_mep(), kLargestMepId));
  }
  return {.md = message.md(),
          .ma = message.ma(),
          .mep = static_cast<std::uint16_t>(message.mep()),
          .remote = static_cast<std::uint16_t>(message.remote_mep())};
}

Named<st_lmep_status> Decode(const manager::LocalStatus& message) {
  Named<st_lmep_status> status{DecodeLocalName(message.name()), {}};
  st_lmep_status& record = status.record;
  record.mac = DecodeMac(message.mac(), message.name());
  record.tx_rdi = message.tx_rdi();
  record.tx_interface_status = static_cast<InterfaceStatus>(message.tx_interface_status());
  record.tx_port_status = static_cast<PortStatus>(message.tx_port_status());
  record.block_state = static_cast<BlockState>(message.block_state());
  record.reserved = message.reserved();
  if (message.defects_size() != kDefectCount) {
    Refuse(message.name(),
           fmt::format("{} defects in the place of {}", message.defects_size(), kDefectCount));
  }
  std::copy(message.defects().begin(), message.defects().end(), std::begin(record.defects));
  return status;
}

Named<st_rmep_status> Decode(const manager::RemoteStatus& message) {
  Named<st_rmep_status> status{DecodeRemoteName(message.name()), {}};
  st_rmep_status& record = status.record;
  record.state = DecodeState(message.state(), message.name());
  record.last_state_change = message.last_state_change();
  record.mac = DecodeMac(message.mac(), message.name());
  record.rx_rdi = message.rx_rdi();
  record.rx_port_status = static_cast<PortStatus>(message.rx_port_status());
  record.rx_interface_status = static_cast<InterfaceStatus>(message.rx_interface_status());
  record.sender_id = message.sender_id();
  return status;
}

Named<st_lmep_stats> Decode(const manager::LocalStatistics& message) {
  return {DecodeLocalName(message.name()),
          {.counter1 = message.counter1(),
           .counter2 = message.counter2(),
           .counter3 = message.counter3(),
           .counter4 = message.counter4()}};
}

Named<st_rmep_stats> Decode(const manager::RemoteStatistics& message) {
  return {DecodeRemoteName(message.name()), {.rmep_counter = message.rmep_counter()}};
}

}  // namespace cfm
