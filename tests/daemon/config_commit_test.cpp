// What holds for changes of all three lists.
#include "daemon/config_commit_fixture.h"

namespace test {
namespace {

using testing::ExitedWithCode;
using testing::IsEmpty;

using ConfigCommitDeath = ConfigCommit;

TEST_F(ConfigCommit, OtherChangesOfAnEntryItselfDoNothing) {
  for (const confd_iter_op op : {MOP_MODIFIED, MOP_VALUE_SET}) {
    EXPECT_EQ(Md(op), ITER_RECURSE);
    EXPECT_EQ(Ma(op), ITER_RECURSE);
    EXPECT_EQ(Mep(op), ITER_RECURSE);
  }
  EXPECT_THAT(Sent(), IsEmpty());
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

TEST_F(ConfigCommitDeath, ALongKeypathIsCutToItsBuffer) {
  fake::SetKeypathText(std::string(400, 'x'));
  EXPECT_EXIT(Call(&cfm::Config::MaintenanceDomain, Keypath({Buf("east")}), MOP_CREATED),
              ExitedWithCode(1),
              FatalFault("MaintenanceDomain",
                         "Can not get XML Tag from keypath: " + std::string(239, 'x')));
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

TEST_F(ConfigCommit, NothingIsSentToTheManagerDuringTheIteration) {
  CreateEastBlue();
  Mep(MOP_CREATED);
  Md(MOP_DELETED);
  EXPECT_THAT(fake::Applied(), IsEmpty());
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
