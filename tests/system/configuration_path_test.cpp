// From the operator's commit to what the CFM manager holds.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "element.h"

namespace {

using test::CommandResult;
using test::Element;
using testing::HasSubstr;
using testing::Not;

class ConfigurationPath : public testing::Test {
 protected:
  void SetUp() override {
    element_.StartAll();
    const CommandResult loaded = element_.Cfmctl({"load", EXAMPLE});
    ASSERT_EQ(loaded.status, 0) << loaded.error;
    ASSERT_EQ(element_.Verify().status, 0);
  }

  std::string Running() { return element_.Cfmctl({"get", "--format", "xml"}).output; }
  std::string Held() { return element_.Cfmctl({"show", "manager", "--format", "json"}).output; }

  Element element_;
};

TEST_F(ConfigurationPath, ACommittedExampleReachesTheManagerWhole) {
  const std::string held = Held();
  for (const char* name : {"metro", "customer", "ring-east", "ring-west", "acme"}) {
    EXPECT_THAT(held, HasSubstr(name));
  }
  EXPECT_EQ(element_.Verify().status, 0);
}

TEST_F(ConfigurationPath, OneLeafReachesTheManager) {
  ASSERT_EQ(element_.Cfmctl({"set", "md{metro}/level", "5"}).status, 0);
  EXPECT_EQ(element_.Verify().status, 0);
  EXPECT_THAT(element_.Cfmctl({"get", "md{metro}/level", "--format", "xml"}).output,
              HasSubstr("<level>5</level>"));
}

TEST_F(ConfigurationPath, ADeletedAssociationLeavesTheManager) {
  ASSERT_EQ(element_.Cfmctl({"delete", "md{metro}/ma{ring-west}"}).status, 0);
  EXPECT_EQ(element_.Verify().status, 0);
  EXPECT_THAT(Held(), Not(HasSubstr("ring-west")));
}

TEST_F(ConfigurationPath, ARejectedCommitNamesPathAndRuleAndChangesNothing) {
  const std::string running = Running();
  const std::string held = Held();
  const CommandResult rejected =
      element_.Cfmctl({"set", "md{metro}/ma{ring-east}/primary-vlan-id", "99"});
  EXPECT_EQ(rejected.status, 1);
  EXPECT_THAT(rejected.error, HasSubstr("md[id='metro']/ma[id='ring-east']"));
  EXPECT_THAT(rejected.error, HasSubstr("primary VLAN of the MA is not in its vlan-list"));
  EXPECT_THAT(rejected.error, HasSubstr("vlan-list = primary-vlan-id"));
  EXPECT_EQ(Running(), running);
  EXPECT_EQ(Held(), held);
}

TEST_F(ConfigurationPath, ACandidateIsCommittedAsOne) {
  const std::string held = Held();
  ASSERT_EQ(element_.Cfmctl({"set", "--candidate", "md{metro}/level", "2"}).status, 0);
  ASSERT_EQ(element_.Cfmctl({"delete", "--candidate", "md{customer}"}).status, 0);
  EXPECT_EQ(Held(), held);
  EXPECT_EQ(element_.Cfmctl({"validate"}).status, 0);
  ASSERT_EQ(element_.Cfmctl({"commit"}).status, 0);
  EXPECT_EQ(element_.Verify().status, 0);
  EXPECT_THAT(Held(), Not(HasSubstr("customer")));
}

TEST_F(ConfigurationPath, AnEmptyConfigurationIsHandedOverToo) {
  ASSERT_EQ(element_.Cfmctl({"delete", "md{metro}", "md{customer}"}).status, 0);
  EXPECT_EQ(element_.Verify().status, 0);
  EXPECT_THAT(Held(), Not(HasSubstr("metro")));
}

TEST_F(ConfigurationPath, WhatIsShownCanBeLoadedAgainEvenWhenItIsNothing) {
  for (const std::string format : {"xml", "json"}) {
    const std::string whole = element_.Cfmctl({"get", "--format", format}).output;
    ASSERT_EQ(element_.Cfmctl({"delete", "md{metro}", "md{customer}"}).status, 0);
    const std::string nothing = element_.Cfmctl({"get", "--format", format}).output;
    ASSERT_EQ(element_.Cfmctl({"load", "--replace", "-"}, whole).status, 0);
    EXPECT_EQ(element_.Cfmctl({"get", "--format", format}).output, whole);
    const CommandResult emptied = element_.Cfmctl({"load", "--replace", "-"}, nothing);
    EXPECT_EQ(emptied.status, 0) << nothing << emptied.error;
    EXPECT_EQ(element_.Cfmctl({"get", "--format", format}).output, nothing);
    ASSERT_EQ(element_.Cfmctl({"load", "--replace", "-"}, whole).status, 0);
  }
  EXPECT_EQ(element_.Verify().status, 0);
}

TEST_F(ConfigurationPath, ACommitOfWhatIsThereAlreadyChangesNothing) {
  EXPECT_THAT(element_.Cfmctl({"load", EXAMPLE}).output, HasSubstr("nothing to change"));
}

TEST_F(ConfigurationPath, AnIdThatMovesBetweenLocalAndRemoteEndsUpWhereItBelongs) {
  const CommandResult moved =
      element_.Cfmctl({"edit", "delete", "md{metro}/ma{ring-east}/mep{3}", "merge",
                       "md{metro}/ma{ring-east}/remote-meps", "3"});
  ASSERT_EQ(moved.status, 0) << moved.error;
  EXPECT_EQ(element_.Verify().status, 0);

  const CommandResult back =
      element_.Cfmctl({"edit", "delete", "md{metro}/ma{ring-east}/remote-meps{3}", "merge",
                       "md{metro}/ma{ring-east}/mep{3}/interface", "eth3",
                       "md{metro}/ma{ring-east}/mep{3}/direction", "up"});
  ASSERT_EQ(back.status, 0) << back.error;
  EXPECT_EQ(element_.Verify().status, 0);
}

}  // namespace
