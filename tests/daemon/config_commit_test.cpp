#include "daemon/config_fixture.h"

namespace test {
namespace {

namespace tag = cfm::tag;
using testing::ElementsAre;
using testing::ExitedWithCode;
using testing::IsEmpty;

constexpr confd_iter_op kEveryOp[] = {MOP_CREATED, MOP_DELETED, MOP_MODIFIED, MOP_VALUE_SET};

class ConfigCommit : public Config {
 protected:
  using Callback = confd_iter_ret (cfm::Config::*)(confd_hkeypath*, confd_iter_op, confd_value*,
                                                   confd_value*);

  confd_iter_ret Call(Callback callback, confd_hkeypath_t path, confd_iter_op op) {
    return (config_.get()->*callback)(&path, op, nullptr, nullptr);
  }
  confd_iter_ret Call(Callback callback, confd_hkeypath_t path, confd_iter_op op,
                      confd_value_t value) {
    return (config_.get()->*callback)(&path, op, nullptr, &value);
  }

  // Changes of the entries themselves.
  confd_iter_ret Md(confd_iter_op op, confd_value_t md = Buf("east")) {
    return Call(&cfm::Config::MaintenanceDomain, Keypath({md, Tag(tag::kMd)}), op);
  }
  confd_iter_ret Ma(confd_iter_op op, confd_value_t ma = Buf("blue")) {
    return Call(&cfm::Config::MaintenanceAssociation,
                Keypath({ma, Tag(tag::kMa), Buf("east"), Tag(tag::kMd)}), op);
  }
  confd_iter_ret Mep(confd_iter_op op, confd_value_t mep = Int32(5)) {
    return Call(
        &cfm::Config::MaintenanceEndPoint,
        Keypath({mep, Tag(tag::kMep), Buf("blue"), Tag(tag::kMa), Buf("east"), Tag(tag::kMd)}), op);
  }

  // Changes of leaves below MD east, its MA blue, and MEP 5 of that.
  static confd_hkeypath_t MdLeaf(tag::Tag leaf) {
    return Keypath({Tag(leaf), Buf("east"), Tag(tag::kMd)});
  }
  static confd_hkeypath_t MaLeaf(tag::Tag leaf) {
    return Keypath({Tag(leaf), Buf("blue"), Tag(tag::kMa), Buf("east"), Tag(tag::kMd)});
  }
  static confd_hkeypath_t MaElement(tag::Tag leaf_list, int element) {
    return Keypath(
        {Int32(element), Tag(leaf_list), Buf("blue"), Tag(tag::kMa), Buf("east"), Tag(tag::kMd)});
  }
  static confd_hkeypath_t MepLeaf(tag::Tag leaf) {
    return Keypath({Tag(leaf), Int32(5), Tag(tag::kMep), Buf("blue"), Tag(tag::kMa), Buf("east"),
                    Tag(tag::kMd)});
  }
  static confd_hkeypath_t ContinuityLeaf(tag::Tag leaf) {
    return Keypath({Tag(leaf), Tag(tag::kContinuityCheck), Int32(5), Tag(tag::kMep), Buf("blue"),
                    Tag(tag::kMa), Buf("east"), Tag(tag::kMd)});
  }
};

using ConfigCommitDeath = ConfigCommit;

// Maintenance domains

TEST_F(ConfigCommit, ACreatedMdHasItsCreationValues) {
  EXPECT_EQ(Md(MOP_CREATED), ITER_RECURSE);
  const cfm::hierarchy_md& md = Sent().at("east");
  EXPECT_EQ(md.name_format, 4u);
  EXPECT_EQ(md.level, 0);
  EXPECT_EQ(md.fixed_word_1, 1u);
  EXPECT_EQ(md.fixed_word_2, 1u);
  EXPECT_THAT(md.mas, IsEmpty());
}

TEST_F(ConfigCommit, ANameIsKeptByteByByte) {
  Md(MOP_CREATED, Buf("two words {and} \xe9"));
  EXPECT_EQ(Sent().count("two words {and} \xe9"), 1u);
}

TEST_F(ConfigCommit, CreatingAnMdThatExistsKeepsItsLevelAndItsMas) {
  CreateEastBlue();
  Call(&cfm::Config::MaintenanceDomain, MdLeaf(tag::kLevel), MOP_VALUE_SET, Int32(6));
  Md(MOP_CREATED);
  EXPECT_EQ(Sent().at("east").level, 6);
  EXPECT_EQ(SentBlue().md, "east");
}

TEST_F(ConfigCommit, ADeletedMdGoesWithAllBelowIt) {
  CreateEastBlue();
  CreateMep("east", "blue", 5);
  EXPECT_EQ(Md(MOP_DELETED), ITER_RECURSE);
  EXPECT_THAT(Sent(), IsEmpty());
}

TEST_F(ConfigCommitDeath, ADeletedMdTakesThePrimaryVlansOfItsMasAlong) {
  CreateEastBlue();
  Md(MOP_DELETED);
  Md(MOP_CREATED);
  Ma(MOP_CREATED);
  AddVlan("east", "blue", 10);
  EXPECT_EXIT(config_->ApplyCommitConfig(), ExitedWithCode(1), FatalFault("ApplyCommitConfig", ""));
}

TEST_F(ConfigCommit, DeletingAnMdThatIsNotThereDoesNothing) {
  EXPECT_EQ(Md(MOP_DELETED), ITER_RECURSE);
  EXPECT_THAT(Sent(), IsEmpty());
}

TEST_F(ConfigCommit, OtherChangesOfAnEntryItselfDoNothing) {
  for (const confd_iter_op op : {MOP_MODIFIED, MOP_VALUE_SET}) {
    EXPECT_EQ(Md(op), ITER_RECURSE);
    EXPECT_EQ(Ma(op), ITER_RECURSE);
    EXPECT_EQ(Mep(op), ITER_RECURSE);
  }
  EXPECT_THAT(Sent(), IsEmpty());
}

TEST_F(ConfigCommit, TheLevelIsSetWhateverTheOperation) {
  CreateMd("east");
  int level = 0;
  for (const confd_iter_op op : kEveryOp) {
    ++level;
    EXPECT_EQ(Call(&cfm::Config::MaintenanceDomain, MdLeaf(tag::kLevel), op, Int32(level)),
              ITER_RECURSE);
    EXPECT_EQ(Sent().at("east").level, level);
  }
}

TEST_F(ConfigCommit, OtherLeavesAreSkippedSilently) {
  CreateEastBlue();
  fake::Logs().clear();
  for (const confd_iter_op op : kEveryOp) {
    EXPECT_EQ(Call(&cfm::Config::MaintenanceDomain, MdLeaf(0x12345678), op), ITER_CONTINUE);
    EXPECT_EQ(Call(&cfm::Config::MaintenanceDomain, MaLeaf(tag::kCcmInterval), op), ITER_CONTINUE);
    EXPECT_EQ(Call(&cfm::Config::MaintenanceAssociation, MaLeaf(0x12345678), op), ITER_CONTINUE);
    EXPECT_EQ(Call(&cfm::Config::MaintenanceAssociation, MepLeaf(tag::kMep), op), ITER_CONTINUE);
    EXPECT_EQ(Call(&cfm::Config::MaintenanceEndPoint, MepLeaf(0x12345678), op), ITER_CONTINUE);
    EXPECT_EQ(Call(&cfm::Config::MaintenanceEndPoint, MepLeaf(tag::kVlanList), op), ITER_CONTINUE);
  }
  EXPECT_THAT(fake::LogTexts(), IsEmpty());
}

TEST_F(ConfigCommitDeath, AnMdKeypathWithoutATagIsFatal) {
  EXPECT_EXIT(Call(&cfm::Config::MaintenanceDomain, Keypath({Buf("east")}), MOP_CREATED),
              ExitedWithCode(1),
              FatalFault("MaintenanceDomain", "Can not get XML Tag from keypath: {east}"));
}

TEST_F(ConfigCommitDeath, ATagBeyondThe25thElementIsNotFound) {
  confd_hkeypath_t path = Keypath({});
  for (int i = 0; i < 25; ++i) {
    path.v[i][0] = Int32(i);
  }
  path.v[25][0] = Tag(tag::kMd);
  fake::SetKeypathText("deep");
  EXPECT_EXIT(Call(&cfm::Config::MaintenanceDomain, path, MOP_CREATED), ExitedWithCode(1),
              FatalFault("MaintenanceDomain", "Can not get XML Tag from keypath: deep"));
}

TEST_F(ConfigCommitDeath, AnMdLeafOutsideAnMdIsFatal) {
  EXPECT_EXIT(
      Call(&cfm::Config::MaintenanceDomain, Keypath({Tag(tag::kLevel)}), MOP_VALUE_SET, Int32(1)),
      ExitedWithCode(1),
      FatalFault("MaintenanceDomain", "Can not get MD ID from keypath: /0x7dec02bd"));
}

TEST_F(ConfigCommitDeath, ALongKeypathIsCutToItsBuffer) {
  fake::SetKeypathText(std::string(400, 'x'));
  EXPECT_EXIT(Call(&cfm::Config::MaintenanceDomain, Keypath({Buf("east")}), MOP_CREATED),
              ExitedWithCode(1),
              FatalFault("MaintenanceDomain",
                         "Can not get XML Tag from keypath: " + std::string(239, 'x')));
}

// Maintenance associations

TEST_F(ConfigCommit, ACreatedMaHasItsCreationValues) {
  CreateMd("east");
  EXPECT_EQ(Ma(MOP_CREATED), ITER_RECURSE);
  AddVlan("east", "blue", 0);
  const cfm::hierarchy_ma& ma = SentBlue();
  EXPECT_EQ(ma.md, "east");
  EXPECT_EQ(ma.association.name_format, 2u);
  EXPECT_THAT(ma.association.vlan_list, ElementsAre(0));
  EXPECT_EQ(static_cast<int>(ma.association.ccm_interval), 0);
  EXPECT_THAT(ma.association.mep_ids, IsEmpty());
  EXPECT_EQ(ma.fixed_word_1, 1u);
  EXPECT_EQ(ma.fixed_word_2, 1u);
  EXPECT_THAT(ma.meps, IsEmpty());
}

TEST_F(ConfigCommit, CreatingAnMaInsertsAMissingMdWithAllFieldsZero) {
  Ma(MOP_CREATED);
  AddVlan("east", "blue", 0);
  const cfm::hierarchy_md& md = Sent().at("east");
  EXPECT_EQ(md.name_format, 0u);
  EXPECT_EQ(md.fixed_word_1, 0u);
  EXPECT_EQ(md.mas.at("blue").association.name_format, 2u);
}

TEST_F(ConfigCommit, CreatingAnMaThatExistsKeepsIt) {
  CreateEastBlue();
  CreateMep("east", "blue", 5);
  Ma(MOP_CREATED);
  EXPECT_EQ(SentBlue().meps.count(5), 1u);
  EXPECT_THAT(SentBlue().association.vlan_list, ElementsAre(10));
}

TEST_F(ConfigCommit, ADeletedMaGoesWithItsMeps) {
  CreateEastBlue();
  CreateMep("east", "blue", 5);
  EXPECT_EQ(Ma(MOP_DELETED), ITER_RECURSE);
  EXPECT_THAT(Sent().at("east").mas, IsEmpty());
}

TEST_F(ConfigCommitDeath, ADeletedMaTakesItsPrimaryVlanAlong) {
  CreateEastBlue();
  Ma(MOP_DELETED);
  Ma(MOP_CREATED);
  AddVlan("east", "blue", 10);
  EXPECT_EXIT(config_->ApplyCommitConfig(), ExitedWithCode(1), FatalFault("ApplyCommitConfig", ""));
}

TEST_F(ConfigCommit, DeletingAnMaKeepsThePrimaryVlansOfItsNeighbours) {
  CreateEastBlue();
  CreateMa("east", "red");
  Ma(MOP_DELETED);
  EXPECT_THAT(Sent().at("east").mas.at("red").association.vlan_list, ElementsAre(10));
}

TEST_F(ConfigCommit, DeletingAnMaInsertsAMissingMdWithAllFieldsZero) {
  Ma(MOP_DELETED);
  EXPECT_EQ(Sent().at("east").name_format, 0u);
}

TEST_F(ConfigCommit, ElementsOfLeafListsAreAddedWhenCreatedAndRemovedOtherwise) {
  CreateEastBlue();
  const auto change = [this](tag::Tag leaf_list, int element, confd_iter_op op) {
    EXPECT_EQ(Call(&cfm::Config::MaintenanceAssociation, MaElement(leaf_list, element), op),
              ITER_RECURSE);
  };
  change(tag::kVlanList, 20, MOP_CREATED);
  change(tag::kVlanList, 30, MOP_CREATED);
  change(tag::kRemoteMeps, 8, MOP_CREATED);
  change(tag::kRemoteMeps, 9, MOP_CREATED);
  EXPECT_THAT(SentBlue().association.vlan_list, ElementsAre(10, 20, 30));
  EXPECT_THAT(SentBlue().association.mep_ids, ElementsAre(8, 9));
  change(tag::kVlanList, 20, MOP_DELETED);
  change(tag::kVlanList, 30, MOP_MODIFIED);
  change(tag::kRemoteMeps, 8, MOP_DELETED);
  change(tag::kRemoteMeps, 9, MOP_VALUE_SET);
  EXPECT_THAT(SentBlue().association.vlan_list, ElementsAre(10));
  EXPECT_THAT(SentBlue().association.mep_ids, IsEmpty());
}

TEST_F(ConfigCommit, ValueLeavesOfAnMaAreSetWhateverTheOperation) {
  CreateEastBlue();
  AddVlan("east", "blue", 20);
  int step = 0;
  for (const confd_iter_op op : kEveryOp) {
    const int vlan = step % 2 == 0 ? 20 : 10;
    EXPECT_EQ(
        Call(&cfm::Config::MaintenanceAssociation, MaLeaf(tag::kPrimaryVlanId), op, Int32(vlan)),
        ITER_RECURSE);
    EXPECT_EQ(Call(&cfm::Config::MaintenanceAssociation, MaLeaf(tag::kCcmInterval), op, Enum(step)),
              ITER_RECURSE);
    EXPECT_EQ(SentBlue().association.vlan_list.front(), vlan);
    EXPECT_EQ(static_cast<int>(SentBlue().association.ccm_interval), step + 4);
    ++step;
  }
}

TEST_F(ConfigCommitDeath, AnMaKeypathWithoutAnMdIsFatal) {
  EXPECT_EXIT(
      Call(&cfm::Config::MaintenanceAssociation, Keypath({Buf("blue"), Tag(tag::kMa)}),
           MOP_CREATED),
      ExitedWithCode(1),
      FatalFault("MaintenanceAssociation", "Can not get MD ID from keypath: /0x1b9a6cbc{blue}"));
}

// No keypath leads through an MD and has no tag; the MD is asked for first.
TEST_F(ConfigCommitDeath, TheMdIsLookedForBeforeTheTag) {
  EXPECT_EXIT(Call(&cfm::Config::MaintenanceAssociation, Keypath({Buf("x")}), MOP_CREATED),
              ExitedWithCode(1),
              FatalFault("MaintenanceAssociation", "Can not get MD ID from keypath: {x}"));
  EXPECT_EXIT(Call(&cfm::Config::MaintenanceEndPoint, Keypath({Buf("x")}), MOP_CREATED),
              ExitedWithCode(1),
              FatalFault("MaintenanceEndPoint", "Can not get MD ID from keypath: {x}"));
}

TEST_F(ConfigCommitDeath, AnMaLeafOutsideAnMaIsFatal) {
  EXPECT_EXIT(
      Call(&cfm::Config::MaintenanceAssociation, MdLeaf(tag::kCcmInterval), MOP_VALUE_SET, Enum(1)),
      ExitedWithCode(1),
      FatalFault("MaintenanceAssociation",
                 "Can not get MA ID from keypath: /0x5baff9dc{east}/0x6cd8df13"));
}

// Maintenance end points

TEST_F(ConfigCommit, ACreatedMepHasItsCreationValues) {
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

TEST_F(ConfigCommit, ALocalMepIsInTheSetOfMepIdsWhileItExists) {
  CreateEastBlue();
  Mep(MOP_CREATED);
  EXPECT_THAT(SentBlue().association.mep_ids, ElementsAre(5));
  EXPECT_EQ(Mep(MOP_DELETED), ITER_RECURSE);
  EXPECT_THAT(SentBlue().association.mep_ids, IsEmpty());
  EXPECT_THAT(SentBlue().meps, IsEmpty());
}

TEST_F(ConfigCommit, DeletingALocalMepTakesItsIdOutEvenWhenItIsListedAsRemote) {
  CreateEastBlue();
  Call(&cfm::Config::MaintenanceAssociation, MaElement(tag::kRemoteMeps, 5), MOP_CREATED);
  Mep(MOP_CREATED);
  Mep(MOP_DELETED);
  EXPECT_THAT(SentBlue().association.mep_ids, IsEmpty());
}

TEST_F(ConfigCommit, CreatingAMepThatExistsKeepsIt) {
  CreateEastBlue();
  Mep(MOP_CREATED);
  config_->SetMepCciEnabled("east", "blue", 5, true);
  Mep(MOP_CREATED);
  EXPECT_TRUE(SentMep(5).cci_enabled);
}

TEST_F(ConfigCommit, CreatingAMepThatASetterInsertedKeepsItsZeroFieldsAndListsItsId) {
  CreateEastBlue();
  config_->SetMepCciEnabled("east", "blue", 5, true);
  Mep(MOP_CREATED);
  EXPECT_EQ(SentMep(5).fault_alarm_time, 0);
  EXPECT_EQ(SentMep(5).mep_id, 0);
  EXPECT_THAT(SentBlue().association.mep_ids, ElementsAre(5));
}

TEST_F(ConfigCommit, AMepKeyTakesTheLow16Bits) {
  CreateEastBlue();
  Mep(MOP_CREATED, Int32(70000));
  EXPECT_EQ(SentMep(4464).mep_id, 4464);
  EXPECT_THAT(SentBlue().association.mep_ids, ElementsAre(4464));
  Mep(MOP_DELETED, Int32(4464));
  EXPECT_THAT(SentBlue().meps, IsEmpty());
}

TEST_F(ConfigCommit, CreatingOrDeletingAMepInsertsAMissingMdAndMaWithAllFieldsZero) {
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

TEST_F(ConfigCommit, ValueLeavesOfAMepAreSetWhateverTheOperation) {
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

TEST_F(ConfigCommit, ThePrimaryVlanOfAMepIsRemovedWhenDeletedAndSetOtherwise) {
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

TEST_F(ConfigCommit, CciIsEnabledWhileItsLeafExists) {
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

TEST_F(ConfigCommit, DeletingContinuityCheckRestoresItsCreationValues) {
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

TEST_F(ConfigCommit, NothingIsSentToTheManagerDuringTheIteration) {
  CreateEastBlue();
  Mep(MOP_CREATED);
  Md(MOP_DELETED);
  EXPECT_THAT(fake::Applied(), IsEmpty());
}

TEST_F(ConfigCommitDeath, AMepKeypathWithoutAnMdOrMaIsFatal) {
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

TEST_F(ConfigCommitDeath, AMepLeafOutsideAMepIsFatal) {
  EXPECT_EXIT(
      Call(&cfm::Config::MaintenanceEndPoint, MaLeaf(tag::kInterface), MOP_VALUE_SET, Buf("eth0")),
      ExitedWithCode(1),
      FatalFault("MaintenanceEndPoint",
                 "Can not get MEP ID from keypath: "
                 "/0x5baff9dc{east}/0x1b9a6cbc{blue}/0x0d34ee32"));
}

TEST_F(ConfigCommitDeath, KeysOfAnotherTypeFailTheAssertion) {
  for (const confd_iter_op op : {MOP_CREATED, MOP_DELETED}) {
    EXPECT_DEATH(Md(op, Int32(1)), Assertion("(val)->type == C_BUF"));
    EXPECT_DEATH(Ma(op, Int32(1)), Assertion("(val)->type == C_BUF"));
    EXPECT_DEATH(Mep(op, Buf("5")), Assertion("(val)->type == C_INT32"));
  }
}

}  // namespace
}  // namespace test
