// The operational lists after agent or daemon were killed: exactly the records
// of what is configured.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "continuity.h"
#include "element.h"
#include "front_end.h"

namespace {

using test::Element;
using test::Records;
using testing::HasSubstr;
using testing::Not;

class RecordRecovery : public testing::Test {
 protected:
  void SetUp() override {
    element_.SetInterfaces(test::TableOfWire(element_.Directory() / "wire"));
    element_.StartAll();
    test::Configure(element_, {.meps = {1, 2, 3}, .remotes = {11, 12}});
    test::ExpectRecordsSoon(element_);
    ASSERT_EQ(LocalOnly(Records(element_)),
              (std::multiset<std::string>{"local provider gold 1", "local provider gold 2",
                                          "local provider gold 3"}));
    ASSERT_EQ(Records(element_).size(), 5U);
  }
  void TearDown() override { EXPECT_THAT(element_.Daemon().Log(), Not(HasSubstr("severity=1"))); }

  void RestartAgent() {
    element_.KillAgent();
    ASSERT_TRUE(element_.StartAgent().AwaitReady());
    ASSERT_EQ(element_.Cfmctl({"status", "--wait", "20", "--for", "daemon"}).status, 0);
    test::ExpectRecordsSoon(element_);
  }
  // Without the remote ones: which local MEP told of one last is chance.
  static std::multiset<std::string> LocalOnly(std::multiset<std::string> records) {
    std::erase_if(records, [](const std::string& name) { return name.starts_with("remote"); });
    return records;
  }
  void ExpectReads() {
    const test::CommandResult shown = element_.Cfmctl({"show", "status"});
    EXPECT_EQ(shown.status, 0);
    EXPECT_EQ(shown.error, "");
  }

  Element element_;
};

TEST_F(RecordRecovery, AnAgentThatComesBackHasThemAllAndEachOnce) {
  const auto before = LocalOnly(Records(element_));
  const pid_t daemon = element_.Daemon().Pid();
  for (int times = 0; times < 3; ++times) {
    RestartAgent();
    EXPECT_EQ(LocalOnly(Records(element_)), before);
    EXPECT_EQ(Records(element_).size(), 5U);
    ExpectReads();
  }
  EXPECT_EQ(element_.Daemon().Pid(), daemon);
}

TEST_F(RecordRecovery, AMepThatTheManagerLosesWhileTheAgentIsAwayIsNotThereAgain) {
  const auto before = LocalOnly(Records(element_));
  element_.KillAgent();
  element_.KillManager();
  ASSERT_TRUE(element_.StartManager().AwaitReady());
  ASSERT_TRUE(element_.StartAgent().AwaitReady());
  ASSERT_EQ(element_.Cfmctl({"status", "--wait", "20", "--for", "daemon"}).status, 0);
  test::ExpectRecordsSoon(element_);
  EXPECT_EQ(LocalOnly(Records(element_)), before);
  EXPECT_EQ(Records(element_).size(), 5U);
  ExpectReads();
}

TEST_F(RecordRecovery, RecordsOfADaemonThatIsGoneAreMarkedUntilItIsBack) {
  element_.KillDaemon();
  const test::CommandResult gone = element_.Cfmctl({"status", "--for", "daemon"});
  EXPECT_EQ(gone.status, 3);
  EXPECT_THAT(gone.output, HasSubstr("is gone since 2"));
  const auto written = test::ReadOf("/status/oam/cfm/local[id='0']/md");
  const cfm::agent::Reply marked = test::FrontEnd(element_.RuntimeDirectory()).Call(written);
  ASSERT_EQ(marked.warnings_size(), 1);
  EXPECT_THAT(marked.warnings(0), testing::AllOf(HasSubstr("data provider cfm-app"),
                                                 HasSubstr("nobody answers for its callpoints"),
                                                 HasSubstr("shown as it was left: 1 entry")));
  ASSERT_TRUE(element_.StartDaemon().AwaitReady());
  test::ExpectRecordsSoon(element_);
  ExpectReads();
}

TEST_F(RecordRecovery, ADaemonThatIsStartedAnewKeepsNoneOfItsPredecessors) {
  const auto before = LocalOnly(Records(element_));
  element_.KillDaemon();
  ASSERT_EQ(LocalOnly(Records(element_)), before);  // what nobody took away is still shown
  ASSERT_TRUE(element_.StartDaemon().AwaitReady());
  test::ExpectRecordsSoon(element_);
  EXPECT_EQ(LocalOnly(Records(element_)), before);
  EXPECT_EQ(Records(element_).size(), 5U);
  ExpectReads();
}

TEST_F(RecordRecovery, ADaemonThatIsStartedAnewShowsOnlyWhatIsStillConfigured) {
  element_.KillDaemon();
  test::Configure(element_, {.meps = {2}, .remotes = {12}});
  ASSERT_TRUE(element_.StartDaemon().AwaitReady());
  ASSERT_EQ(element_.Verify().status, 0);
  test::ExpectRecordsSoon(element_);
  EXPECT_EQ(Records(element_),
            (std::multiset<std::string>{"local provider gold 2", "remote provider gold 2 12"}));
  ExpectReads();
}

TEST_F(RecordRecovery, ADaemonThatFindsNothingConfiguredLeavesNoRecord) {
  element_.KillDaemon();
  ASSERT_EQ(element_.Cfmctl({"delete", "md{provider}"}).status, 0);
  ASSERT_TRUE(element_.StartDaemon().AwaitReady());
  ASSERT_EQ(element_.Verify().status, 0);
  EXPECT_EQ(Records(element_), std::multiset<std::string>{});
}

}  // namespace
