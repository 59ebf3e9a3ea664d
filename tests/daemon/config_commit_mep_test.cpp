// Maintenance end points in a commit.
#include "daemon/config_commit_fixture.h"

namespace test {
namespace {

using testing::ElementsAre;
using testing::ExitedWithCode;
using testing::IsEmpty;

using ConfigCommitMep = ConfigCommit;
using ConfigCommitMepDeath = ConfigCommit;

TEST_F(ConfigCommitMep, ACreatedMepHasItsCreationValues) {
  CreateEastBlue();
  EXPECT_EQ(Mep(MOP_CREATED), ITER_RECURSE);
  const cfm::hierarchy_mep& mep = SentMep(5);
  EXPECT_EQ(mep.md, "east");
  EXPECT_EQ(mep.ma, "blue");
  EXPECT_EQ(mep.mep_id, 5);
  EXPECT_EQ(static_cast<int>(mep.direction), 0);
  EXPECT_EQ(mep.logical_interface_id, 0u);
  EXPECT_EQ(mep.primary_vlan_id, 0);
  EXPECT_EQ(mep.fixed_byte_1, 1);
  EXPECT_FALSE(mep.cci_enabled);
  EXPECT_EQ(mep.fixed_byte_2, 7);
  EXPECT_EQ(static_cast<int>(mep.lowest_fault_priority_defect), 2);
  EXPECT_EQ(mep.fault_alarm_time, 2500);
  EXPECT_EQ(mep.fault_reset_time, 10000);
  EXPECT_EQ(static_cast<int>(mep.fault_action), 0);
}

TEST_F(ConfigCommitMep, ALocalMepIsInTheSetOfMepIdsWhileItExists) {
  CreateEastBlue();
  Mep(MOP_CREATED);
  EXPECT_THAT(SentBlue().association.mep_ids, ElementsAre(5));
  EXPECT_EQ(Mep(MOP_DELETED), ITER_RECURSE);
  EXPECT_THAT(SentBlue().association.mep_ids, IsEmpty());
  EXPECT_THAT(SentBlue().meps, IsEmpty());
}

TEST_F(ConfigCommitMep, DeletingALocalMepTakesItsIdOutEvenWhenItIsListedAsRemote) {
  CreateEastBlue();
  Call(&cfm::Config::MaintenanceAssociation, MaElement(tag::kRemoteMeps, 5), MOP_CREATED);
  Mep(MOP_CREATED);
  Mep(MOP_DELETED);
  EXPECT_THAT(SentBlue().association.mep_ids, IsEmpty());
}

TEST_F(ConfigCommitMep, CreatingAMepThatExistsKeepsIt) {
  CreateEastBlue();
  Mep(MOP_CREATED);
  config_->SetMepCciEnabled("east", "blue", 5, true);
  Mep(MOP_CREATED);
  EXPECT_TRUE(SentMep(5).cci_enabled);
}

TEST_F(ConfigCommitMep, CreatingAMepThatASetterInsertedKeepsItsZeroFieldsAndListsItsId) {
  CreateEastBlue();
  config_->SetMepCciEnabled("east", "blue", 5, true);
  Mep(MOP_CREATED);
  EXPECT_EQ(SentMep(5).fault_alarm_time, 0);
  EXPECT_EQ(SentMep(5).mep_id, 0);
  EXPECT_THAT(SentBlue().association.mep_ids, ElementsAre(5));
}

TEST_F(ConfigCommitMep, AMepKeyTakesTheLow16Bits) {
  CreateEastBlue();
  Mep(MOP_CREATED, Int32(70000));
  EXPECT_EQ(SentMep(4464).mep_id, 4464);
  EXPECT_THAT(SentBlue().association.mep_ids, ElementsAre(4464));
  Mep(MOP_DELETED, Int32(4464));
  EXPECT_THAT(SentBlue().meps, IsEmpty());
}

TEST_F(ConfigCommitMep, CreatingOrDeletingAMepInsertsAMissingMdAndMaWithAllFieldsZero) {
  for (const confd_iter_op op : {MOP_CREATED, MOP_DELETED}) {
    Md(MOP_DELETED);
    Mep(op);
    AddVlan("east", "blue", 0);
    EXPECT_EQ(Sent().at("east").name_format, 0u);
    EXPECT_EQ(SentBlue().association.name_format, 0u);
    EXPECT_EQ(SentBlue().md, "");
    EXPECT_EQ(SentBlue().meps.size(), op == MOP_CREATED ? 1u : 0u);
  }
}

TEST_F(ConfigCommitMep, ValueLeavesOfAMepAreSetWhateverTheOperation) {
  CreateEastBlue();
  fake::AddInterface("eth1", 31);
  for (const confd_iter_op op : kEveryOp) {
    Mep(MOP_DELETED);
    Mep(MOP_CREATED);
    const auto set = [&](confd_hkeypath_t path, confd_value_t value) {
      EXPECT_EQ(Call(&cfm::Config::MaintenanceEndPoint, path, op, value), ITER_RECURSE);
    };
    set(MepLeaf(tag::kInterface), Buf("eth1"));
    set(MepLeaf(tag::kDirection), Enum(0));
    set(ContinuityLeaf(tag::kLowestFaultPriorityDefect), Enum(4));
    set(ContinuityLeaf(tag::kFaultAlarmTime), Int32(3000));
    set(ContinuityLeaf(tag::kFaultResetTime), Int32(4000));
    set(ContinuityLeaf(tag::kFaultAction), Enum(1));
    const cfm::hierarchy_mep& mep = SentMep(5);
    EXPECT_EQ(mep.logical_interface_id, 31u);
    EXPECT_EQ(static_cast<int>(mep.direction), 2);
    EXPECT_EQ(static_cast<int>(mep.lowest_fault_priority_defect), 5);
    EXPECT_EQ(mep.fault_alarm_time, 3000);
    EXPECT_EQ(mep.fault_reset_time, 4000);
    EXPECT_EQ(static_cast<int>(mep.fault_action), 1);
  }
}

TEST_F(ConfigCommitMep, ThePrimaryVlanOfAMepIsRemovedWhenDeletedAndSetOtherwise) {
  CreateEastBlue();
  Mep(MOP_CREATED);
  for (const confd_iter_op op : {MOP_CREATED, MOP_MODIFIED, MOP_VALUE_SET}) {
    EXPECT_EQ(Call(&cfm::Config::MaintenanceEndPoint, MepLeaf(tag::kPrimaryVlanId), op, Int32(33)),
              ITER_RECURSE);
    EXPECT_EQ(SentMep(5).primary_vlan_id, 33);
    EXPECT_EQ(Call(&cfm::Config::MaintenanceEndPoint, MepLeaf(tag::kPrimaryVlanId), MOP_DELETED),
              ITER_RECURSE);
    EXPECT_EQ(SentMep(5).primary_vlan_id, 0);
  }
}

TEST_F(ConfigCommitMep, CciIsEnabledWhileItsLeafExists) {
  CreateEastBlue();
  Mep(MOP_CREATED);
  for (const confd_iter_op op : {MOP_DELETED, MOP_MODIFIED, MOP_VALUE_SET}) {
    EXPECT_EQ(
        Call(&cfm::Config::MaintenanceEndPoint, ContinuityLeaf(tag::kCciEnabled), MOP_CREATED),
        ITER_RECURSE);
    EXPECT_TRUE(SentMep(5).cci_enabled);
    EXPECT_EQ(Call(&cfm::Config::MaintenanceEndPoint, ContinuityLeaf(tag::kCciEnabled), op),
              ITER_RECURSE);
    EXPECT_FALSE(SentMep(5).cci_enabled);
  }
}

TEST_F(ConfigCommitMep, DeletingContinuityCheckRestoresItsCreationValues) {
  CreateEastBlue();
  Mep(MOP_CREATED);
  Call(&cfm::Config::MaintenanceEndPoint, ContinuityLeaf(tag::kCciEnabled), MOP_CREATED);
  Call(&cfm::Config::MaintenanceEndPoint, ContinuityLeaf(tag::kFaultAlarmTime), MOP_VALUE_SET,
       Int32(5000));
  for (const confd_iter_op op : {MOP_CREATED, MOP_MODIFIED, MOP_VALUE_SET}) {
    EXPECT_EQ(Call(&cfm::Config::MaintenanceEndPoint, MepLeaf(tag::kContinuityCheck), op),
              ITER_RECURSE);
    EXPECT_EQ(SentMep(5).fault_alarm_time, 5000);
  }
  EXPECT_EQ(Call(&cfm::Config::MaintenanceEndPoint, MepLeaf(tag::kContinuityCheck), MOP_DELETED),
            ITER_RECURSE);
  EXPECT_EQ(SentMep(5).fault_alarm_time, 2500);
  EXPECT_FALSE(SentMep(5).cci_enabled);
}

TEST_F(ConfigCommitMepDeath, AMepKeypathWithoutAnMdOrMaIsFatal) {
  EXPECT_EXIT(
      Call(&cfm::Config::MaintenanceEndPoint, Keypath({Int32(5), Tag(tag::kMep)}), MOP_CREATED),
      ExitedWithCode(1),
      FatalFault("MaintenanceEndPoint", "Can not get MD ID from keypath: /0x2b20e37e{5}"));
  EXPECT_EXIT(Call(&cfm::Config::MaintenanceEndPoint,
                   Keypath({Int32(5), Tag(tag::kMep), Buf("east"), Tag(tag::kMd)}), MOP_CREATED),
              ExitedWithCode(1),
              FatalFault("MaintenanceEndPoint",
                         "Can not get MA ID from keypath: /0x5baff9dc{east}/0x2b20e37e{5}"));
}

TEST_F(ConfigCommitMepDeath, AMepLeafOutsideAMepIsFatal) {
  EXPECT_EXIT(
      Call(&cfm::Config::MaintenanceEndPoint, MaLeaf(tag::kInterface), MOP_VALUE_SET, Buf("eth0")),
      ExitedWithCode(1),
      FatalFault("MaintenanceEndPoint",
                 "Can not get MEP ID from keypath: "
                 "/0x5baff9dc{east}/0x1b9a6cbc{blue}/0x0d34ee32"));
}

}  // namespace
}  // namespace test
