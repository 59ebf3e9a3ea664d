#include "status_codec.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>

#include "frame.h"
#include "manager.pb.h"

namespace {

using cfm::Decode;
using cfm::Named;
using cfm::RecordName;
using testing::ElementsAreArray;
using testing::HasSubstr;
using testing::ThrowsMessage;

constexpr cfm::st_mac kMac{{0x00, 0x1a, 0x2b, 0x80, 0xfe, 0xff}};

template <typename Message, typename Record>
Named<Record> ThereAndBack(const Named<Record>& record) {
  Message message;
  cfm::Encode(record, message);
  Message received;
  EXPECT_TRUE(received.ParseFromString(message.SerializeAsString()));
  return Decode(received);
}

cfm::manager::LocalStatus GoodLocalStatus() {
  cfm::manager::LocalStatus message;
  cfm::Encode(Named<cfm::st_lmep_status>{{"east", "blue", 1, 0}, {}}, message);
  return message;
}

cfm::manager::RemoteStatus GoodRemoteStatus() {
  cfm::manager::RemoteStatus message;
  cfm::Encode(Named<cfm::st_rmep_status>{{"east", "blue", 1, 7}, {}}, message);
  return message;
}

template <typename Message>
void ExpectRefused(const Message& message, const std::string& reason) {
  EXPECT_THAT([&] { Decode(message); }, ThrowsMessage<ipc::ProtocolError>(reason));
}

TEST(StatusCodec, CarriesEveryFieldOfALocalStatus) {
  const cfm::st_lmep_status sent{.mac = kMac,
                                 .tx_rdi = true,
                                 .tx_interface_status = cfm::InterfaceStatus::kIsDormant,
                                 .tx_port_status = cfm::PortStatus::kUp,
                                 .block_state = cfm::BlockState::kBlocked,
                                 .reserved = 0xfffffffe,
                                 .defects = {true, false, true, true, false}};
  const auto received = ThereAndBack<cfm::manager::LocalStatus>(
      Named<cfm::st_lmep_status>{{"e", "b", 8191, 0}, sent});
  EXPECT_EQ(received.name, (RecordName{"e", "b", 8191, 0}));
  EXPECT_THAT(received.record.mac.octets, ElementsAreArray(kMac.octets));
  EXPECT_TRUE(received.record.tx_rdi);
  EXPECT_EQ(received.record.tx_interface_status, cfm::InterfaceStatus::kIsDormant);
  EXPECT_EQ(received.record.tx_port_status, cfm::PortStatus::kUp);
  EXPECT_EQ(received.record.block_state, cfm::BlockState::kBlocked);
  EXPECT_EQ(received.record.reserved, 0xfffffffeU);
  EXPECT_THAT(received.record.defects, ElementsAreArray(sent.defects));
}

TEST(StatusCodec, CarriesEveryFieldOfARemoteStatus) {
  const cfm::st_rmep_status sent{.state = cfm::RMEP_FAILED,
                                 .last_state_change = 0x1234567890abcdef,
                                 .mac = kMac,
                                 .rx_rdi = true,
                                 .rx_port_status = cfm::PortStatus::kBlocked,
                                 .rx_interface_status = cfm::InterfaceStatus::kIsLowerLayerDown,
                                 .sender_id = "west"};
  const auto received = ThereAndBack<cfm::manager::RemoteStatus>(
      Named<cfm::st_rmep_status>{{"e", "b", 1, 8191}, sent});
  EXPECT_EQ(received.name, (RecordName{"e", "b", 1, 8191}));
  EXPECT_EQ(received.record.state, cfm::RMEP_FAILED);
  EXPECT_EQ(received.record.last_state_change, 0x1234567890abcdefU);
  EXPECT_THAT(received.record.mac.octets, ElementsAreArray(kMac.octets));
  EXPECT_TRUE(received.record.rx_rdi);
  EXPECT_EQ(received.record.rx_port_status, cfm::PortStatus::kBlocked);
  EXPECT_EQ(received.record.rx_interface_status, cfm::InterfaceStatus::kIsLowerLayerDown);
  EXPECT_EQ(received.record.sender_id, "west");
}

TEST(StatusCodec, CarriesEveryCounterAtItsFullWidth) {
  constexpr auto k64 = std::numeric_limits<std::uint64_t>::max();
  constexpr auto k32 = std::numeric_limits<std::uint32_t>::max();
  const auto local = ThereAndBack<cfm::manager::LocalStatistics>(
      Named<cfm::st_lmep_stats>{{"e", "b", 1, 0}, {k64, k64 - 1, k32, k32 - 1}});
  EXPECT_EQ(local.record.counter1, k64);
  EXPECT_EQ(local.record.counter2, k64 - 1);
  EXPECT_EQ(local.record.counter3, k32);
  EXPECT_EQ(local.record.counter4, k32 - 1);
  const auto remote = ThereAndBack<cfm::manager::RemoteStatistics>(
      Named<cfm::st_rmep_stats>{{"e", "b", 1, 7}, {k32}});
  EXPECT_EQ(remote.name.remote, 7);
  EXPECT_EQ(remote.record.rmep_counter, k32);
}

TEST(StatusCodec, PassesOnValuesWithoutAName) {
  auto local = GoodLocalStatus();
  local.set_tx_interface_status(9);
  local.set_tx_port_status(-1);
  local.set_block_state(77);
  EXPECT_EQ(static_cast<int>(Decode(local).record.tx_interface_status), 9);
  EXPECT_EQ(static_cast<int>(Decode(local).record.tx_port_status), -1);
  EXPECT_EQ(static_cast<int>(Decode(local).record.block_state), 77);
  auto remote = GoodRemoteStatus();
  remote.set_rx_interface_status(8);
  remote.set_rx_port_status(3);
  EXPECT_EQ(static_cast<int>(Decode(remote).record.rx_interface_status), 8);
  EXPECT_EQ(static_cast<int>(Decode(remote).record.rx_port_status), 3);
}

TEST(StatusCodec, RefusesAStateOfARemoteMepThatThereIsNot) {
  for (const int state : {-1, 4, 1000}) {
    auto message = GoodRemoteStatus();
    message.set_state(state);
    ExpectRefused(message, "remote MEP 7 of MEP 1 of MA blue of MD east: state has no value " +
                               std::to_string(state));
  }
}

TEST(StatusCodec, RefusesAMacAddressOfAnotherLength) {
  for (const std::string& bytes : {std::string(), std::string(5, 'x'), std::string(7, 'x')}) {
    auto message = GoodLocalStatus();
    message.set_mac(bytes);
    ExpectRefused(message, "MEP 1 of MA blue of MD east: a MAC address of " +
                               std::to_string(bytes.size()) + " bytes");
  }
}

TEST(StatusCodec, RefusesAnotherNumberOfDefects) {
  auto message = GoodLocalStatus();
  message.add_defects(false);
  ExpectRefused(message, "MEP 1 of MA blue of MD east: 6 defects in the place of 5");
  message.clear_defects();
  ExpectRefused(message, "MEP 1 of MA blue of MD east: 0 defects in the place of 5");
}

TEST(StatusCodec, RefusesIdsOutOfRange) {
  auto local = GoodLocalStatus();
  local.mutable_name()->set_mep(0);
  ExpectRefused(local, "MEP 0 of MA blue of MD east: MEP id 0 is not 1 to 8191");
  local.mutable_name()->set_mep(65537);
  ExpectRefused(local, "MEP 65537 of MA blue of MD east: MEP id 65537 is not 1 to 8191");
  auto remote = GoodRemoteStatus();
  remote.mutable_name()->set_remote_mep(8192);
  ExpectRefused(remote,
                "remote MEP 8192 of MEP 1 of MA blue of MD east: remote MEP id 8192 is more than "
                "8191");
}

TEST(StatusCodec, RefusesARecordOfTheOtherKind) {
  auto local = GoodLocalStatus();
  local.mutable_name()->set_remote_mep(7);
  ExpectRefused(local,
                "remote MEP 7 of MEP 1 of MA blue of MD east: this is no record of a remote MEP");
  auto remote = GoodRemoteStatus();
  remote.mutable_name()->set_remote_mep(0);
  ExpectRefused(remote, "MEP 1 of MA blue of MD east: the record names no remote MEP");
  cfm::manager::LocalStatistics nameless;
  EXPECT_THROW(Decode(nameless), ipc::ProtocolError);
}

}  // namespace
