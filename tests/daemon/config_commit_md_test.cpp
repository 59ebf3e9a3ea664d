// Maintenance domains in a commit.
#include "daemon/config_commit_fixture.h"

namespace test {
namespace {

using testing::ExitedWithCode;
using testing::IsEmpty;

using ConfigCommitMd = ConfigCommit;
using ConfigCommitMdDeath = ConfigCommit;

TEST_F(ConfigCommitMd, ACreatedMdHasItsCreationValues) {
  EXPECT_EQ(Md(MOP_CREATED), ITER_RECURSE);
  const cfm::hierarchy_md& md = Sent().at("east");
  EXPECT_EQ(md.name_format, 4u);
  EXPECT_EQ(md.level, 0);
  EXPECT_EQ(md.fixed_word_1, 1u);
  EXPECT_EQ(md.fixed_word_2, 1u);
  EXPECT_THAT(md.mas, IsEmpty());
}

TEST_F(ConfigCommitMd, ANameIsKeptByteByByte) {
  Md(MOP_CREATED, Buf("two words {and} \xe9"));
  EXPECT_EQ(Sent().count("two words {and} \xe9"), 1u);
}

TEST_F(ConfigCommitMd, CreatingAnMdThatExistsKeepsItsLevelAndItsMas) {
  CreateEastBlue();
  Call(&cfm::Config::MaintenanceDomain, MdLeaf(tag::kLevel), MOP_VALUE_SET, Int32(6));
  Md(MOP_CREATED);
  EXPECT_EQ(Sent().at("east").level, 6);
  EXPECT_EQ(SentBlue().md, "east");
}

TEST_F(ConfigCommitMd, ADeletedMdGoesWithAllBelowIt) {
  CreateEastBlue();
  CreateMep("east", "blue", 5);
  EXPECT_EQ(Md(MOP_DELETED), ITER_RECURSE);
  EXPECT_THAT(Sent(), IsEmpty());
}

TEST_F(ConfigCommitMdDeath, ADeletedMdTakesThePrimaryVlansOfItsMasAlong) {
  CreateEastBlue();
  Md(MOP_DELETED);
  Md(MOP_CREATED);
  Ma(MOP_CREATED);
  AddVlan("east", "blue", 10);
  EXPECT_EXIT(config_->ApplyCommitConfig(), ExitedWithCode(1), FatalFault("ApplyCommitConfig", ""));
}

TEST_F(ConfigCommitMd, DeletingAnMdThatIsNotThereDoesNothing) {
  EXPECT_EQ(Md(MOP_DELETED), ITER_RECURSE);
  EXPECT_THAT(Sent(), IsEmpty());
}

TEST_F(ConfigCommitMd, TheLevelIsSetWhateverTheOperation) {
  CreateMd("east");
  int level = 0;
  for (const confd_iter_op op : kEveryOp) {
    ++level;
    EXPECT_EQ(Call(&cfm::Config::MaintenanceDomain, MdLeaf(tag::kLevel), op, Int32(level)),
              ITER_RECURSE);
    EXPECT_EQ(Sent().at("east").level, level);
  }
}

TEST_F(ConfigCommitMdDeath, AnMdKeypathWithoutATagIsFatal) {
  EXPECT_EXIT(Call(&cfm::Config::MaintenanceDomain, Keypath({Buf("east")}), MOP_CREATED),
              ExitedWithCode(1),
              FatalFault("MaintenanceDomain", "Can not get XML Tag from keypath: {east}"));
}

TEST_F(ConfigCommitMdDeath, AnMdLeafOutsideAnMdIsFatal) {
  EXPECT_EXIT(
      Call(&cfm::Config::MaintenanceDomain, Keypath({Tag(tag::kLevel)}), MOP_VALUE_SET, Int32(1)),
      ExitedWithCode(1),
      FatalFault("MaintenanceDomain", "Can not get MD ID from keypath: /0x7dec02bd"));
}

}  // namespace
}  // namespace test
