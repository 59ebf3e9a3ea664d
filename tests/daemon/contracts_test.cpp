// Binary shape of what the daemon shares with the platform: order of virtual
// operations, order and width of record fields.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <string>
#include <type_traits>
#include <vector>

#include "cfm/client.h"
#include "cfm/mep_info.h"
#include "cfm/received_information_handler.h"
#include "daemon/fake_platform.h"
#include "status/status_receiver.h"
#include "velconfd/app_interface.h"
#include "velconfd/cdb_session.h"
#include "velconfd/handlers.h"

namespace test {
namespace {

// Slot of a virtual operation in its object's table. In the Itanium C++ ABI a
// pointer to a virtual member function holds 1 plus the offset of its slot.
template <typename Operation>
std::size_t Slot(Operation operation) {
  static_assert(std::is_member_function_pointer_v<Operation>);
  std::ptrdiff_t representation[2];
  static_assert(sizeof(operation) == sizeof(representation));
  std::memcpy(representation, &operation, sizeof(representation));
  EXPECT_EQ(representation[0] % 2, 1) << "not a virtual operation";
  return static_cast<std::size_t>(representation[0] - 1) / sizeof(void*);
}

// A virtual destructor takes two slots.
TEST(InterfaceOrder, ReceivedInformationHandler) {
  using Handler = cfm::ReceivedInformationHandler;
  EXPECT_EQ(Slot(&Handler::HandleStatusLocalMep), 0u);
  EXPECT_EQ(Slot(&Handler::HandleStatusRemoteMep), 1u);
  EXPECT_EQ(Slot(&Handler::HandleStatisticsLocalMep), 2u);
  EXPECT_EQ(Slot(&Handler::HandleStatisticsRemoteMep), 3u);
  EXPECT_EQ(Slot(&Handler::HandleStatisticsFinished), 4u);
  EXPECT_EQ(Slot(&Handler::HandleRemovedLocalMep), 5u);
  EXPECT_EQ(Slot(&Handler::HandleRemovedRemoteMep), 6u);
  EXPECT_EQ(Slot(&Handler::HandleStatusInvalidated), 7u);
  struct Extended : Handler {
    virtual void First() = 0;
  };
  EXPECT_EQ(Slot(&Extended::First), 10u);
}

TEST(InterfaceOrder, StatusReceiverAddsNoOperation) {
  struct Extended : cfm::StatusReceiver {
    virtual void First() {}
  };
  EXPECT_EQ(Slot(&Extended::First), 10u);
}

TEST(InterfaceOrder, Client) {
  EXPECT_EQ(Slot(&cfm::Client::ApplyConfiguration), 2u);
  EXPECT_EQ(Slot(&cfm::Client::RequestStatistics), 3u);
  EXPECT_EQ(Slot(&cfm::Client::ClearStatistics), 4u);
}

TEST(InterfaceOrder, BaseHandler) {
  EXPECT_EQ(Slot(&velconfd::BaseHandler::ConfdConnected), 2u);
  EXPECT_EQ(Slot(&velconfd::BaseHandler::ConfdDisconnected), 3u);
}

TEST(InterfaceOrder, ConfigHandler) {
  using Handler = velconfd::ConfigHandler;
  EXPECT_EQ(Slot(&Handler::LoadInitialConfig), 4u);
  EXPECT_EQ(Slot(&Handler::ApplyInitialConfig), 5u);
  EXPECT_EQ(Slot(&Handler::StartCommit), 6u);
  EXPECT_EQ(Slot(&Handler::ApplyCommitConfig), 7u);
  EXPECT_EQ(Slot(&Handler::GetSubscriptionPoints), 8u);
}

TEST(InterfaceOrder, DataHandler) {
  using Handler = velconfd::DataHandler;
  EXPECT_EQ(Slot(&Handler::TransactionInit), 4u);
  EXPECT_EQ(Slot(&Handler::TransactionFinish), 5u);
  EXPECT_EQ(Slot(&Handler::GetCallpoints), 6u);
}

TEST(InterfaceOrder, Callpoint) {
  using Callpoint = velconfd::DataHandler::Callpoint;
  EXPECT_EQ(Slot(&Callpoint::ExistsOptionalCallback), 2u);
  EXPECT_EQ(Slot(&Callpoint::GetNextCallback), 3u);
  EXPECT_EQ(Slot(&Callpoint::GetElemCallback), 4u);
  EXPECT_EQ(Slot(&Callpoint::SetElemCallback), 5u);
  EXPECT_EQ(Slot(&Callpoint::CreateCallback), 6u);
  EXPECT_EQ(Slot(&Callpoint::RemoveCallback), 7u);
  EXPECT_EQ(Slot(&Callpoint::NumInstancesCallback), 8u);
  EXPECT_EQ(Slot(&Callpoint::GetObjectCallback), 9u);
  EXPECT_EQ(Slot(&Callpoint::GetNextObjectCallback), 10u);
  EXPECT_EQ(Slot(&Callpoint::FindNextObjectCallback), 11u);
  EXPECT_EQ(Slot(&Callpoint::WriteAllCallback), 12u);
  EXPECT_EQ(Slot(&Callpoint::GetCallpoint), 13u);
}

TEST(InterfaceOrder, ActionHandler) {
  using Handler = velconfd::ActionHandler;
  EXPECT_EQ(Slot(&Handler::GetActionPoint), 4u);
  EXPECT_EQ(Slot(&Handler::ActionCb), 5u);
  EXPECT_EQ(Slot(&Handler::CompletionCb), 6u);
}

TEST(InterfaceOrder, EveryObjectThatIsDeletedThroughItsBaseHasAVirtualDestructor) {
  EXPECT_TRUE(std::has_virtual_destructor_v<cfm::Client>);
  EXPECT_TRUE(std::has_virtual_destructor_v<velconfd::BaseHandler>);
  EXPECT_TRUE(std::has_virtual_destructor_v<velconfd::DataHandler::Callpoint>);
  EXPECT_TRUE(std::has_virtual_destructor_v<velconfd::AppInterface>);
  EXPECT_TRUE(std::has_virtual_destructor_v<VelConfdCdbSessionBase>);
}

// Offset and width of a field in an object, for records with strings in them
// too.
struct Place {
  std::size_t offset;
  std::size_t width;
  bool operator==(const Place&) const = default;
};

template <typename Record, typename Field>
Place PlaceOf(Field Record::*field) {
  static const Record record{};
  return {static_cast<std::size_t>(reinterpret_cast<const char*>(&(record.*field)) -
                                   reinterpret_cast<const char*>(&record)),
          sizeof(Field)};
}

// Each field stands behind the one before it, at its alignment.
class Layout {
 public:
  template <typename Record, typename Field>
  Layout& Next(Field Record::*field, std::size_t width) {
    const std::size_t offset = (end_ + alignof(Field) - 1) / alignof(Field) * alignof(Field);
    EXPECT_EQ(PlaceOf(field).offset, offset);
    EXPECT_EQ(PlaceOf(field).width, width);
    end_ = offset + width;
    return *this;
  }

 private:
  std::size_t end_ = 0;
};

TEST(RecordLayout, Mac) {
  Layout().Next(&cfm::st_mac::octets, 6);
  EXPECT_EQ(sizeof(cfm::st_mac), 6u);
}

TEST(RecordLayout, LocalMepStatus) {
  using Record = cfm::st_lmep_status;
  Layout()
      .Next(&Record::mac, 6)
      .Next(&Record::tx_rdi, 1)
      .Next(&Record::tx_interface_status, 4)
      .Next(&Record::tx_port_status, 4)
      .Next(&Record::block_state, 4)
      .Next(&Record::reserved, 4)
      .Next(&Record::defects, 5);
  EXPECT_EQ(sizeof(Record), 32u);
}

TEST(RecordLayout, RemoteMepStatus) {
  using Record = cfm::st_rmep_status;
  Layout()
      .Next(&Record::state, 4)
      .Next(&Record::last_state_change, 8)
      .Next(&Record::mac, 6)
      .Next(&Record::rx_rdi, 1)
      .Next(&Record::rx_port_status, 4)
      .Next(&Record::rx_interface_status, 4)
      .Next(&Record::sender_id, sizeof(std::string));
}

TEST(RecordLayout, Statistics) {
  using Local = cfm::st_lmep_stats;
  Layout()
      .Next(&Local::counter1, 8)
      .Next(&Local::counter2, 8)
      .Next(&Local::counter3, 4)
      .Next(&Local::counter4, 4);
  EXPECT_EQ(sizeof(Local), 24u);
  Layout().Next(&cfm::st_rmep_stats::rmep_counter, 4);
  EXPECT_EQ(sizeof(cfm::st_rmep_stats), 4u);
}

template <typename Enumerator>
struct Numbered {
  Enumerator enumerator;
  int number;
};

template <typename Enumerator, std::size_t N>
constexpr bool AreNumbered(const Numbered<Enumerator> (&rows)[N]) {
  return std::ranges::all_of(
      rows, [](const auto& row) { return static_cast<int>(row.enumerator) == row.number; });
}

// What the manager's client sends is the numbers.
TEST(RecordLayout, EnumeratorsHaveTheirNumbers) {
  using Interface = cfm::InterfaceStatus;
  static_assert(AreNumbered<Interface>({{Interface::kNoTlv, 0},
                                        {Interface::kIsUp, 1},
                                        {Interface::kIsDown, 2},
                                        {Interface::kIsTesting, 3},
                                        {Interface::kIsUnknown, 4},
                                        {Interface::kIsDormant, 5},
                                        {Interface::kIsNotPresent, 6},
                                        {Interface::kIsLowerLayerDown, 7}}));
  using Port = cfm::PortStatus;
  static_assert(AreNumbered<Port>({{Port::kNoTlv, 0}, {Port::kBlocked, 1}, {Port::kUp, 2}}));
  using Block = cfm::BlockState;
  static_assert(AreNumbered<Block>(
      {{Block::kNotApplicable, 0}, {Block::kForwarding, 1}, {Block::kBlocked, 2}}));
  static_assert(AreNumbered<cfm::en_rmep_state>(
      {{cfm::RMEP_IDLE, 0}, {cfm::RMEP_START, 1}, {cfm::RMEP_FAILED, 2}, {cfm::RMEP_OK, 3}}));
}

TEST(RecordLayout, MaintenanceDomain) {
  using Record = cfm::hierarchy_md;
  Layout()
      .Next(&Record::name_format, 4)
      .Next(&Record::level, 4)
      .Next(&Record::fixed_word_1, 4)
      .Next(&Record::fixed_word_2, 4)
      .Next(&Record::mas, sizeof(std::map<std::string, cfm::hierarchy_ma>));
  EXPECT_TRUE(std::is_signed_v<decltype(Record::level)>);
}

TEST(RecordLayout, MaintenanceAssociation) {
  using Record = cfm::hierarchy_ma;
  Layout()
      .Next(&Record::md, sizeof(std::string))
      .Next(&Record::association, sizeof(cfm::st_maintenance_association_cfg))
      .Next(&Record::fixed_word_1, 4)
      .Next(&Record::fixed_word_2, 4)
      .Next(&Record::meps, sizeof(std::map<std::uint16_t, cfm::hierarchy_mep>));
  using Association = cfm::st_maintenance_association_cfg;
  Layout()
      .Next(&Association::name_format, 4)
      .Next(&Association::vlan_list, sizeof(std::vector<std::uint16_t>))
      .Next(&Association::ccm_interval, 4)
      .Next(&Association::mep_ids, sizeof(std::set<std::uint16_t>));
}

TEST(RecordLayout, MaintenanceEndPoint) {
  using Record = cfm::hierarchy_mep;
  Layout()
      .Next(&Record::md, sizeof(std::string))
      .Next(&Record::ma, sizeof(std::string))
      .Next(&Record::mep_id, 2)
      .Next(&Record::direction, 4)
      .Next(&Record::logical_interface_id, 4)
      .Next(&Record::primary_vlan_id, 2)
      .Next(&Record::fixed_byte_1, 1)
      .Next(&Record::cci_enabled, 1)
      .Next(&Record::fixed_byte_2, 1)
      .Next(&Record::lowest_fault_priority_defect, 1)
      .Next(&Record::fault_alarm_time, 2)
      .Next(&Record::fault_reset_time, 2)
      .Next(&Record::fault_action, 4);
}

TEST(RecordLayout, SubscriptionPoint) {
  using Record = velconfd::SubscriptionPoint;
  Layout()
      .Next(&Record::priority, 4)
      .Next(&Record::name_space, 4)
      .Next(&Record::path, sizeof(void*))
      .Next(&Record::subscription_id, 4)
      .Next(&Record::iterate, sizeof(std::function<void()>));
}

TEST(RecordLayout, StatusReceiverHoldsEightCallbacksAndAFlag) {
  EXPECT_EQ(sizeof(cfm::StatusReceiver),
            sizeof(void*) + 8 * sizeof(std::function<void()>) + sizeof(void*));
}

TEST(RecordLayout, MepInfo) {
  using Record = cfm::MepInfo;
  Layout()
      .Next(&Record::md, sizeof(std::string))
      .Next(&Record::ma, sizeof(std::string))
      .Next(&Record::mep, 4);
  EXPECT_TRUE(std::is_signed_v<decltype(Record::mep)>);
}

TEST(MepInfo, IsOrderedByDomainThenAssociationThenSignedId) {
  const std::vector<cfm::MepInfo> ascending = {
      {"", "", 0},   {"a", "", 0},    {"a", "b", -1}, {"a", "b", 0},     {"a", "b", 1},
      {"a", "c", 0}, {"a", "c10", 0}, {"a", "c2", 0}, {"a\x7f", "a", 0}, {"a\x80", "a", 0}};
  for (std::size_t i = 0; i < ascending.size(); ++i) {
    for (std::size_t j = 0; j < ascending.size(); ++j) {
      EXPECT_EQ(ascending[i] < ascending[j], i < j) << i << " and " << j;
    }
  }
}

}  // namespace
}  // namespace test
