// Maintenance associations in a commit.
#include "daemon/config_commit_fixture.h"

namespace test {
namespace {

using testing::ElementsAre;
using testing::ExitedWithCode;
using testing::IsEmpty;

using ConfigCommitMa = ConfigCommit;
using ConfigCommitMaDeath = ConfigCommit;

TEST_F(ConfigCommitMa, ACreatedMaHasItsCreationValues) {
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

TEST_F(ConfigCommitMa, CreatingAnMaInsertsAMissingMdWithAllFieldsZero) {
  Ma(MOP_CREATED);
  AddVlan("east", "blue", 0);
  const cfm::hierarchy_md& md = Sent().at("east");
  EXPECT_EQ(md.name_format, 0u);
  EXPECT_EQ(md.fixed_word_1, 0u);
  EXPECT_EQ(md.mas.at("blue").association.name_format, 2u);
}

TEST_F(ConfigCommitMa, CreatingAnMaThatExistsKeepsIt) {
  CreateEastBlue();
  CreateMep("east", "blue", 5);
  Ma(MOP_CREATED);
  EXPECT_EQ(SentBlue().meps.count(5), 1u);
  EXPECT_THAT(SentBlue().association.vlan_list, ElementsAre(10));
}

TEST_F(ConfigCommitMa, ADeletedMaGoesWithItsMeps) {
  CreateEastBlue();
  CreateMep("east", "blue", 5);
  EXPECT_EQ(Ma(MOP_DELETED), ITER_RECURSE);
  EXPECT_THAT(Sent().at("east").mas, IsEmpty());
}

TEST_F(ConfigCommitMaDeath, ADeletedMaTakesItsPrimaryVlanAlong) {
  CreateEastBlue();
  Ma(MOP_DELETED);
  Ma(MOP_CREATED);
  AddVlan("east", "blue", 10);
  EXPECT_EXIT(config_->ApplyCommitConfig(), ExitedWithCode(1), FatalFault("ApplyCommitConfig", ""));
}

TEST_F(ConfigCommitMa, DeletingAnMaKeepsThePrimaryVlansOfItsNeighbours) {
  CreateEastBlue();
  CreateMa("east", "red");
  Ma(MOP_DELETED);
  EXPECT_THAT(Sent().at("east").mas.at("red").association.vlan_list, ElementsAre(10));
}

TEST_F(ConfigCommitMa, DeletingAnMaInsertsAMissingMdWithAllFieldsZero) {
  Ma(MOP_DELETED);
  EXPECT_EQ(Sent().at("east").name_format, 0u);
}

TEST_F(ConfigCommitMa, ElementsOfLeafListsAreAddedWhenCreatedAndRemovedOtherwise) {
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

TEST_F(ConfigCommitMa, ValueLeavesOfAnMaAreSetWhateverTheOperation) {
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

TEST_F(ConfigCommitMaDeath, AnMaKeypathWithoutAnMdIsFatal) {
  EXPECT_EXIT(
      Call(&cfm::Config::MaintenanceAssociation, Keypath({Buf("blue"), Tag(tag::kMa)}),
           MOP_CREATED),
      ExitedWithCode(1),
      FatalFault("MaintenanceAssociation", "Can not get MD ID from keypath: /0x1b9a6cbc{blue}"));
}

TEST_F(ConfigCommitMaDeath, AnMaLeafOutsideAnMaIsFatal) {
  EXPECT_EXIT(
      Call(&cfm::Config::MaintenanceAssociation, MdLeaf(tag::kCcmInterval), MOP_VALUE_SET, Enum(1)),
      ExitedWithCode(1),
      FatalFault("MaintenanceAssociation",
                 "Can not get MA ID from keypath: /0x5baff9dc{east}/0x6cd8df13"));
}

}  // namespace
}  // namespace test
