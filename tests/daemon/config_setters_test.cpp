#include <climits>

#include "daemon/config_fixture.h"

namespace test {
namespace {

using testing::ElementsAre;
using testing::ExitedWithCode;

constexpr std::uint16_t kMep = 5;

class ConfigSetters : public Config {
 protected:
  ConfigSetters() {
    CreateEastBlue();
    CreateMep("east", "blue", kMep);
  }

  using MepSetter = void (cfm::Config::*)(const std::string&, const std::string&, std::uint16_t,
                                          confd_value*);
  void Set(MepSetter setter, confd_value_t value) {
    (config_.get()->*setter)("east", "blue", kMep, &value);
  }
  void SetCcmInterval(confd_value_t value) { config_->SetMaCcmInterval("east", "blue", &value); }
  void ChangeVlan(int vlan, bool add) {
    confd_value_t value = Int32(vlan);
    config_->AddOrRemoveMaVlanList("east", "blue", &value, add);
  }
  void ChangeRemoteMep(int mep, bool add) {
    confd_value_t value = Int32(mep);
    config_->AddOrRemoveMaRemoteMeps("east", "blue", &value, add);
  }
};

using ConfigSettersDeath = ConfigSetters;

TEST_F(ConfigSetters, LevelIsStoredAsThe32BitValue) {
  confd_value_t value = Int32(7);
  config_->SetMdLevel("east", &value);
  EXPECT_EQ(Sent().at("east").level, 7);
  value = Int32(INT_MIN);
  config_->SetMdLevel("east", &value);
  EXPECT_EQ(Sent().at("east").level, INT_MIN);
}

TEST_F(ConfigSetters, CcmIntervalsAreOffsetByFour) {
  for (int configured = 0; configured < 4; ++configured) {
    SetCcmInterval(Enum(configured));
    EXPECT_EQ(static_cast<int>(SentBlue().association.ccm_interval), configured + 4);
  }
}

TEST_F(ConfigSettersDeath, UnknownCcmIntervalIsFatal) {
  EXPECT_EXIT(SetCcmInterval(Enum(4)), ExitedWithCode(1),
              FatalFault("SetMaCcmInterval", "Unsupported CCM interval: enum(4)"));
  EXPECT_EXIT(SetCcmInterval(Enum(-1)), ExitedWithCode(1),
              FatalFault("SetMaCcmInterval", "Unsupported CCM interval: enum(-1)"));
}

TEST_F(ConfigSetters, PrimaryVlanIdOfAnMaIsNotCheckedForItsRange) {
  ChangeVlan(4096, true);
  SetPrimaryVlan("east", "blue", 4096);
  EXPECT_THAT(SentBlue().association.vlan_list, ElementsAre(4096, 10));
}

TEST_F(ConfigSetters, PrimaryVlanIdOfAnMaTakesTheLow16Bits) {
  ChangeVlan(4464, true);
  SetPrimaryVlan("east", "blue", 70000);
  EXPECT_THAT(SentBlue().association.vlan_list, ElementsAre(4464, 10));
}

TEST_F(ConfigSetters, PrimaryVlanIdOfAnMaDoesNotTouchTheMirrorOfAnMdThatIsNotThere) {
  SetPrimaryVlan("west", "red", 20);
  EXPECT_EQ(Sent().count("west"), 0u);
}

TEST_F(ConfigSetters, VlansAreAppended) {
  ChangeVlan(30, true);
  ChangeVlan(20, true);
  ChangeVlan(65536 + 7, true);
  EXPECT_THAT(SentBlue().association.vlan_list, ElementsAre(10, 30, 20, 7));
}

TEST_F(ConfigSetters, AVlanAddedTwiceIsThereTwiceAndRemovingItTakesTheFirst) {
  ChangeVlan(20, true);
  ChangeVlan(30, true);
  ChangeVlan(20, true);
  EXPECT_THAT(SentBlue().association.vlan_list, ElementsAre(10, 20, 30, 20));
  ChangeVlan(20, false);
  EXPECT_THAT(SentBlue().association.vlan_list, ElementsAre(10, 30, 20));
}

TEST_F(ConfigSetters, RemovingAVlanThatIsNotThereChangesNothing) {
  ChangeVlan(99, false);
  EXPECT_THAT(SentBlue().association.vlan_list, ElementsAre(10));
}

TEST_F(ConfigSetters, RemoteMepsJoinAndLeaveTheSetOfMepIds) {
  ChangeRemoteMep(9, true);
  ChangeRemoteMep(65536 + 8, true);
  ChangeRemoteMep(9, true);
  EXPECT_THAT(SentBlue().association.mep_ids, ElementsAre(kMep, 8, 9));
  ChangeRemoteMep(9, false);
  ChangeRemoteMep(77, false);
  EXPECT_THAT(SentBlue().association.mep_ids, ElementsAre(kMep, 8));
}

TEST_F(ConfigSetters, InterfaceIsStoredAsItsLogicalIdWhateverTheServiceReturns) {
  fake::AddInterface("eth0", 0xfedcba98);
  Set(&cfm::Config::SetMepInterface, Buf("eth0"));
  EXPECT_EQ(SentMep(kMep).logical_interface_id, 0xfedcba98);
}

TEST_F(ConfigSetters, AnUnknownInterfaceIsStoredAsZero) {
  fake::AddInterface("eth0", 17);
  Set(&cfm::Config::SetMepInterface, Buf("eth0"));
  Set(&cfm::Config::SetMepInterface, Buf("eth9"));
  EXPECT_EQ(SentMep(kMep).logical_interface_id, 0u);
}

TEST_F(ConfigSetters, DirectionsSwapTheirOrder) {
  Set(&cfm::Config::SetMepDirection, Enum(0));
  EXPECT_EQ(static_cast<int>(SentMep(kMep).direction), 2);
  Set(&cfm::Config::SetMepDirection, Enum(1));
  EXPECT_EQ(static_cast<int>(SentMep(kMep).direction), 1);
}

TEST_F(ConfigSettersDeath, UnknownDirectionIsFatal) {
  EXPECT_EXIT(Set(&cfm::Config::SetMepDirection, Enum(2)), ExitedWithCode(1),
              FatalFault("SetMepDirection", "Unsupported MEP direction: enum(2)"));
}

TEST_F(ConfigSetters, PrimaryVlanIdOfAMepIsSetAndRemoved) {
  Set(&cfm::Config::SetMepPrimaryVlanId, Int32(70000));
  EXPECT_EQ(SentMep(kMep).primary_vlan_id, 4464);
  config_->RemoveMepPrimaryVlanId("east", "blue", kMep);
  EXPECT_EQ(SentMep(kMep).primary_vlan_id, 0);
}

TEST_F(ConfigSetters, CciEnabledIsStored) {
  config_->SetMepCciEnabled("east", "blue", kMep, true);
  EXPECT_TRUE(SentMep(kMep).cci_enabled);
  config_->SetMepCciEnabled("east", "blue", kMep, false);
  EXPECT_FALSE(SentMep(kMep).cci_enabled);
}

TEST_F(ConfigSetters, LowestFaultPriorityDefectsAreOffsetByOne) {
  for (int configured = 0; configured < 5; ++configured) {
    Set(&cfm::Config::SetMepLowestFaultPriorityDefect, Enum(configured));
    EXPECT_EQ(static_cast<int>(SentMep(kMep).lowest_fault_priority_defect), configured + 1);
  }
}

TEST_F(ConfigSettersDeath, UnknownLowestFaultPriorityDefectIsFatal) {
  EXPECT_EXIT(Set(&cfm::Config::SetMepLowestFaultPriorityDefect, Enum(5)), ExitedWithCode(1),
              FatalFault("SetMepLowestFaultPriorityDefect",
                         "Unsupported MEP lowest fault priority defect: enum(5)"));
}

TEST_F(ConfigSetters, FaultTimesTakeTheLow16Bits) {
  Set(&cfm::Config::SetMepFngAlarmTime, Int32(5000));
  Set(&cfm::Config::SetMepFngResetTime, Int32(9000));
  EXPECT_EQ(SentMep(kMep).fault_alarm_time, 5000);
  EXPECT_EQ(SentMep(kMep).fault_reset_time, 9000);
  Set(&cfm::Config::SetMepFngAlarmTime, Int32(65536 + 1));
  Set(&cfm::Config::SetMepFngResetTime, Int32(-1));
  EXPECT_EQ(SentMep(kMep).fault_alarm_time, 1);
  EXPECT_EQ(SentMep(kMep).fault_reset_time, 65535);
}

TEST_F(ConfigSetters, FaultActionsAreStoredAsTheyAre) {
  Set(&cfm::Config::SetMepFaultAction, Enum(1));
  EXPECT_EQ(static_cast<int>(SentMep(kMep).fault_action), 1);
  Set(&cfm::Config::SetMepFaultAction, Enum(0));
  EXPECT_EQ(static_cast<int>(SentMep(kMep).fault_action), 0);
}

TEST_F(ConfigSettersDeath, UnknownFaultActionIsFatal) {
  EXPECT_EXIT(Set(&cfm::Config::SetMepFaultAction, Enum(2)), ExitedWithCode(1),
              FatalFault("SetMepFaultAction", "Invalid MEP fault action: enum(2)"));
}

TEST_F(ConfigSetters, ResettingContinuityCheckKeepsTheOtherSettings) {
  fake::AddInterface("eth0", 17);
  Set(&cfm::Config::SetMepInterface, Buf("eth0"));
  Set(&cfm::Config::SetMepDirection, Enum(1));
  Set(&cfm::Config::SetMepPrimaryVlanId, Int32(10));
  config_->SetMepCciEnabled("east", "blue", kMep, true);
  Set(&cfm::Config::SetMepLowestFaultPriorityDefect, Enum(4));
  Set(&cfm::Config::SetMepFngAlarmTime, Int32(5000));
  Set(&cfm::Config::SetMepFngResetTime, Int32(6000));
  Set(&cfm::Config::SetMepFaultAction, Enum(1));

  config_->ResetContinuityCheck("east", "blue", kMep);

  const cfm::hierarchy_mep& mep = SentMep(kMep);
  EXPECT_FALSE(mep.cci_enabled);
  EXPECT_EQ(static_cast<int>(mep.lowest_fault_priority_defect), 2);
  EXPECT_EQ(mep.fault_alarm_time, 2500);
  EXPECT_EQ(mep.fault_reset_time, 10000);
  EXPECT_EQ(static_cast<int>(mep.fault_action), 0);
  EXPECT_EQ(mep.logical_interface_id, 17u);
  EXPECT_EQ(static_cast<int>(mep.direction), 1);
  EXPECT_EQ(mep.primary_vlan_id, 10);
}

TEST_F(ConfigSetters, ResettingContinuityCheckReadsNothingFromTheCdb) {
  config_->ResetContinuityCheck("east", "blue", kMep);
  EXPECT_THAT(fake::CdbCalls(), testing::IsEmpty());
}

TEST_F(ConfigSetters, ASetterForAMepThatIsNotThereInsertsOneWithAllFieldsZero) {
  config_->SetMepCciEnabled("east", "blue", 9, true);
  const cfm::hierarchy_mep& mep = SentMep(9);
  EXPECT_TRUE(mep.cci_enabled);
  EXPECT_EQ(mep.md, "");
  EXPECT_EQ(mep.ma, "");
  EXPECT_EQ(mep.mep_id, 0);
  EXPECT_EQ(static_cast<int>(mep.direction), 0);
  EXPECT_EQ(mep.fixed_byte_1, 0);
  EXPECT_EQ(mep.fixed_byte_2, 0);
  EXPECT_EQ(static_cast<int>(mep.lowest_fault_priority_defect), 0);
  EXPECT_EQ(mep.fault_alarm_time, 0);
  EXPECT_EQ(mep.fault_reset_time, 0);
  EXPECT_THAT(SentBlue().association.mep_ids, ElementsAre(kMep));
}

TEST_F(ConfigSetters, ASetterForAnMdThatIsNotThereInsertsMdMaAndMepWithAllFieldsZero) {
  config_->RemoveMepPrimaryVlanId("west", "red", 3);
  AddVlan("west", "red", 0);  // the primary VLAN id of an MA that nobody gave one
  const cfm::hierarchy_md& md = Sent().at("west");
  EXPECT_EQ(md.name_format, 0u);
  EXPECT_EQ(md.level, 0);
  EXPECT_EQ(md.fixed_word_1, 0u);
  EXPECT_EQ(md.fixed_word_2, 0u);
  const cfm::hierarchy_ma& ma = md.mas.at("red");
  EXPECT_EQ(ma.md, "");
  EXPECT_EQ(ma.association.name_format, 0u);
  EXPECT_EQ(static_cast<int>(ma.association.ccm_interval), 0);
  EXPECT_EQ(ma.fixed_word_1, 0u);
  EXPECT_EQ(ma.fixed_word_2, 0u);
  EXPECT_EQ(ma.meps.count(3), 1u);
}

TEST_F(ConfigSettersDeath, LevelOfAnotherTypeFailsTheAssertion) {
  confd_value_t value = Enum(1);
  EXPECT_DEATH(config_->SetMdLevel("east", &value), Assertion("(val)->type == C_INT32"));
}

TEST_F(ConfigSettersDeath, SettersOfAnMaAssertTheType) {
  confd_value_t text = Buf("1");
  EXPECT_DEATH(config_->SetMaCcmInterval("east", "blue", &text),
               Assertion("(val)->type == C_ENUM_VALUE"));
  EXPECT_DEATH(config_->SetMaPrimaryVlanId("east", "blue", &text),
               Assertion("(val)->type == C_INT32"));
  EXPECT_DEATH(config_->AddOrRemoveMaVlanList("east", "blue", &text, true),
               Assertion("(val)->type == C_INT32"));
  EXPECT_DEATH(config_->AddOrRemoveMaRemoteMeps("east", "blue", &text, false),
               Assertion("(val)->type == C_INT32"));
}

TEST_F(ConfigSettersDeath, SettersOfAMepAssertTheType) {
  const struct {
    MepSetter setter;
    confd_value_t wrong;
    const char* assertion;
  } cases[] = {
      {&cfm::Config::SetMepInterface, Int32(1), "(val)->type == C_BUF"},
      {&cfm::Config::SetMepDirection, Int32(1), "(val)->type == C_ENUM_VALUE"},
      {&cfm::Config::SetMepPrimaryVlanId, Enum(1), "(val)->type == C_INT32"},
      {&cfm::Config::SetMepLowestFaultPriorityDefect, Int32(1), "(val)->type == C_ENUM_VALUE"},
      {&cfm::Config::SetMepFngAlarmTime, Enum(1), "(val)->type == C_INT32"},
      {&cfm::Config::SetMepFngResetTime, Enum(1), "(val)->type == C_INT32"},
      {&cfm::Config::SetMepFaultAction, Int32(1), "(val)->type == C_ENUM_VALUE"},
  };
  for (const auto& one : cases) {
    EXPECT_DEATH(Set(one.setter, one.wrong), Assertion(one.assertion));
  }
}

}  // namespace
}  // namespace test
