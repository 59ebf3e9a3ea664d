#include "core/mep_name.h"

#include <gmock/gmock.h>

#include "core/mep_completion.h"
#include "records.h"

namespace cfmctl {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const MepName kLocal{"east", "blue", false, {}, 5};
const MepName kRemote{"east", "blue", true, 5, 7};

TEST(MepName, OfARecordIsWhatItIsAbout) {
  EXPECT_EQ(NameOfRecord(test::LocalRecord()), kLocal);
  EXPECT_EQ(NameOfRecord(test::RemoteRecord()), kRemote);
}

TEST(MepName, OfARecordIsUnknownUntilAllOfItIsWritten) {
  TreeNode record = test::RemoteRecord();
  for (const std::size_t missing : {1U, 2U, 3U, 4U}) {
    TreeNode partial = record;
    partial.children.erase(partial.children.begin() + static_cast<long>(missing));
    EXPECT_EQ(NameOfRecord(partial), std::nullopt) << record.children[missing].name;
  }
  EXPECT_EQ(NameOfRecord(test::With(record, "remote-mep", "7x")), std::nullopt);
}

TEST(MepName, ReadsAsAPath) {
  EXPECT_EQ(ToText(kLocal), "local MEP md{east}/ma{blue}/mep{5}");
  EXPECT_EQ(ToText(kRemote), "remote MEP 7 of md{east}/ma{blue}/mep{5}");
  EXPECT_EQ(ToText(WithoutObserver(kRemote)), "remote MEP 7 of md{east}/ma{blue}");
}

TEST(MepName, TheConfigurationSaysWhoSeesARemoteMepOnlyForOneLocalMep) {
  TreeNode cfm = test::Cfm();
  EXPECT_THAT(ConfiguredMeps(cfm, {}),
              ElementsAre(kLocal, MepName{"east", "blue", false, {}, 6}, WithoutObserver(kRemote)));
  TreeNode& ma = cfm.children[0].children[2];
  ma.children.pop_back();
  EXPECT_THAT(ConfiguredMeps(cfm, {}), ElementsAre(kLocal, kRemote));
  ma.children.pop_back();
  EXPECT_THAT(ConfiguredMeps(cfm, {}), IsEmpty());
}

TEST(MepName, ALocalMepThatIsSelectedComesWithTheRemoteMepsOfItsMa) {
  const TreeNode cfm = test::Cfm();
  const MepName six{"east", "blue", false, {}, 6};
  EXPECT_THAT(ConfiguredMeps(cfm, {"east", "blue", 5}),
              ElementsAre(kLocal, WithoutObserver(kRemote)));
  EXPECT_THAT(ConfiguredMeps(cfm, {"east", "blue", 6}), ElementsAre(six, WithoutObserver(kRemote)));
  EXPECT_THAT(ConfiguredMeps(cfm, {"east", "blue", 7}), ElementsAre(WithoutObserver(kRemote)));
  EXPECT_THAT(ConfiguredMeps(cfm, {"west", {}, {}}), IsEmpty());
}

TEST(MepSelection, IsConfiguredWhenItsNamesAre) {
  const TreeNode cfm = test::Cfm();
  for (const MepSelection& there :
       {MepSelection{}, MepSelection{"west", {}, {}}, MepSelection{{}, "blue", {}},
        MepSelection{"east", "blue", 6}, MepSelection{{}, {}, 7}}) {
    EXPECT_TRUE(IsConfigured(cfm, there)) << ToText(there);
  }
  for (const MepSelection& wrong : {MepSelection{"north", {}, {}}, MepSelection{"west", "blue", {}},
                                    MepSelection{{}, "red", {}}, MepSelection{"east", "blue", 8},
                                    MepSelection{"west", {}, 5}}) {
    EXPECT_FALSE(IsConfigured(cfm, wrong)) << ToText(wrong);
  }
  EXPECT_FALSE(IsConfigured(TreeNode(), {"east", {}, {}}));
}

TEST(MepSelection, WhatIsNotGivenStandsForAll) {
  EXPECT_TRUE(MepSelection().Selects(kLocal));
  EXPECT_TRUE((MepSelection{"east", {}, {}}).Selects(kLocal));
  EXPECT_FALSE((MepSelection{"west", {}, {}}).Selects(kLocal));
  EXPECT_TRUE((MepSelection{"east", "blue", {}}).Selects(kRemote));
  EXPECT_FALSE((MepSelection{"east", "red", {}}).Selects(kRemote));
}

TEST(MepSelection, AMepIsALocalOneWithWhatItSeesOrARemoteOne) {
  const MepSelection local{"east", "blue", 5};
  EXPECT_TRUE(local.Selects(kLocal));
  EXPECT_TRUE(local.Selects(kRemote));
  EXPECT_FALSE(local.Selects(WithoutObserver(kRemote)));
  const MepSelection remote{"east", "blue", 7};
  EXPECT_FALSE(remote.Selects(kLocal));
  EXPECT_TRUE(remote.Selects(kRemote));
}

TEST(MepSelection, ReadsAsWords) {
  EXPECT_EQ(ToText(MepSelection()), "every MEP");
  EXPECT_EQ(ToText(MepSelection{{}, "blue", {}}), "MA blue");
  EXPECT_EQ(ToText(MepSelection{"east", "blue", 5}), "MD east, MA blue, MEP 5");
}

TEST(MepCompletion, NamesEachOnce) {
  TreeNode cfm = test::Cfm();
  cfm.children[1].children.push_back(test::MaBlue());
  EXPECT_THAT(MdNames(cfm), ElementsAre("east", "west"));
  EXPECT_THAT(MaNames(cfm, {}), ElementsAre("blue"));
  EXPECT_THAT(MepIds(cfm, {}), ElementsAre("5", "6", "7"));
  EXPECT_THAT(MepIds(cfm, {"west", "red", {}}), IsEmpty());
}

}  // namespace
}  // namespace cfmctl
