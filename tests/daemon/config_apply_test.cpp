#include "daemon/config_fixture.h"

namespace test {
namespace {

using testing::ElementsAre;
using testing::ExitedWithCode;
using testing::IsEmpty;

using ConfigApply = Config;
using ConfigApplyDeath = Config;

TEST_F(ConfigApply, AnEmptyConfigurationIsStillSent) {
  fake::SetApplyResult(42);
  EXPECT_EQ(config_->ApplyCommitConfig(), 42);
  ASSERT_EQ(fake::Applied().size(), 1u);
  EXPECT_THAT(fake::Applied().front(), IsEmpty());
}

TEST_F(ConfigApply, TheClientsResultIsReturnedUnchanged) {
  CreateEastBlue();
  fake::SetApplyResult(-7);
  EXPECT_EQ(config_->ApplyCommitConfig(), -7);
  fake::SetApplyResult(0);
  EXPECT_EQ(config_->ApplyCommitConfig(), 0);
}

TEST_F(ConfigApply, ApplyingLogsNothing) {
  fake::Logs().clear();
  fake::SetApplyResult(1);
  config_->ApplyCommitConfig();
  EXPECT_THAT(fake::LogTexts(), IsEmpty());
}

TEST_F(ConfigApply, ThePrimaryVlanIsMovedToTheFront) {
  CreateEastBlue();
  AddVlan("east", "blue", 20);
  AddVlan("east", "blue", 30);
  SetPrimaryVlan("east", "blue", 30);
  EXPECT_THAT(SentBlue().association.vlan_list, ElementsAre(30, 10, 20));
}

TEST_F(ConfigApply, APrimaryVlanAtTheFrontStaysThere) {
  CreateEastBlue();
  AddVlan("east", "blue", 20);
  EXPECT_THAT(SentBlue().association.vlan_list, ElementsAre(10, 20));
}

TEST_F(ConfigApply, OnlyTheFirstCopyOfThePrimaryVlanIsMoved) {
  CreateEastBlue();
  for (int vlan : {20, 30, 20}) {
    AddVlan("east", "blue", vlan);
  }
  SetPrimaryVlan("east", "blue", 20);
  EXPECT_THAT(SentBlue().association.vlan_list, ElementsAre(20, 10, 30, 20));
}

TEST_F(ConfigApply, ApplyingAgainSendsTheWholeConfigurationUnchanged) {
  CreateEastBlue();
  CreateMep("east", "blue", 5);
  AddVlan("east", "blue", 20);
  SetPrimaryVlan("east", "blue", 20);
  EXPECT_THAT(SentBlue().association.vlan_list, ElementsAre(20, 10));
  EXPECT_THAT(SentBlue().association.vlan_list, ElementsAre(20, 10));
  EXPECT_EQ(SentBlue().meps.count(5), 1u);
}

TEST_F(ConfigApply, EachMaHasItsOwnPrimaryVlan) {
  CreateEastBlue();
  CreateMa("east", "red");
  AddVlan("east", "red", 11);
  SetPrimaryVlan("east", "red", 11);
  CreateMd("west");
  CreateMa("west", "blue");
  const cfm::Hierarchy& sent = Sent();
  EXPECT_THAT(sent.at("east").mas.at("blue").association.vlan_list, ElementsAre(10));
  EXPECT_THAT(sent.at("east").mas.at("red").association.vlan_list, ElementsAre(11, 10));
  EXPECT_THAT(sent.at("west").mas.at("blue").association.vlan_list, ElementsAre(10));
  EXPECT_EQ(fake::Applied().size(), 1u);
}

TEST_F(ConfigApplyDeath, APrimaryVlanThatIsNotInTheListIsFatalWithAnEmptyMessage) {
  CreateEastBlue();
  SetPrimaryVlan("east", "blue", 99);
  EXPECT_EXIT(config_->ApplyCommitConfig(), ExitedWithCode(1), FatalFault("ApplyCommitConfig", ""));
}

TEST_F(ConfigApplyDeath, AnMaWithoutAPrimaryVlanIsFatal) {
  CreateMd("east");
  confd_value_t key = Buf("blue");
  config_->CreateMa("east", &key);
  AddVlan("east", "blue", 10);
  EXPECT_EXIT(config_->ApplyCommitConfig(), ExitedWithCode(1), FatalFault("ApplyCommitConfig", ""));
}

TEST_F(ConfigApply, AnMaWithoutAPrimaryVlanReadsAsZero) {
  CreateMd("east");
  confd_value_t key = Buf("blue");
  config_->CreateMa("east", &key);
  AddVlan("east", "blue", 10);
  AddVlan("east", "blue", 0);
  EXPECT_THAT(SentBlue().association.vlan_list, ElementsAre(0, 10));
}

TEST_F(ConfigApplyDeath, TheInitialConfigurationIsAppliedLikeACommit) {
  fake::SetApplyResult(13);
  EXPECT_EQ(config_->ApplyInitialConfig(), 13);
  EXPECT_EQ(fake::Applied().size(), 1u);
  CreateEastBlue();
  SetPrimaryVlan("east", "blue", 99);
  EXPECT_EXIT(config_->ApplyInitialConfig(), ExitedWithCode(1),
              FatalFault("ApplyCommitConfig", ""));
}

TEST_F(ConfigApply, TheStartOfACommitDoesNothing) {
  CreateEastBlue();
  Sent();
  const std::vector<std::string> events = fake::Events();
  config_->StartCommit();
  EXPECT_EQ(fake::Events(), events);
  EXPECT_EQ(Sent().size(), 1u);
}

}  // namespace
}  // namespace test
