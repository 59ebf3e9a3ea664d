// Two elements on a wire: status, statistics and the clear action from the
// wire to the operator.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>

#include <fstream>

#include "element.h"

namespace {

using test::CommandResult;
using test::Element;
using testing::HasSubstr;
using testing::Not;

// One MEP of the MA "gold", and the id of the one at the other end.
std::string Document(int mep, int remote) {
  return R"({"element-cfm:config":{"oam":{"cfm":{"md":[{"id":"provider","level":5,"ma":[{)"
         R"("id":"gold","ccm-interval":"1s","primary-vlan-id":100,"vlan-list":[100],)"
         R"("remote-meps":[)" +
         std::to_string(remote) + R"(],"mep":[{"id":)" + std::to_string(mep) +
         R"(,"interface":"eth1","direction":"down","continuity-check":{"cci-enabled":[null]}}]}]}]}}}})";
}

class TwoElements : public testing::Test {
 protected:
  void SetUp() override {
    const std::string table = "eth1 1 wire " + Wire() + "\n";
    for (Element* element : {&left_, &right_}) {
      element->SetInterfaces(table);
      element->StartAll();
    }
    ASSERT_EQ(left_.Cfmctl({"load", "-"}, Document(1, 2)).status, 0);
    ASSERT_EQ(right_.Cfmctl({"load", "-"}, Document(2, 1)).status, 0);
    ExpectSoon(left_, "state=rmep-ok");
    ExpectSoon(right_, "state=rmep-ok");
  }

  std::string Wire() const { return (left_.Directory() / "gold").string(); }
  void Cut() { std::ofstream(Wire() + ".cut"); }
  void Mend() { std::filesystem::remove(Wire() + ".cut"); }

  static void ExpectSoon(Element& element, const std::string& condition) {
    const CommandResult result = element.Cfmctl({"watch", "--until", condition, "--timeout", "25"});
    EXPECT_EQ(result.status, 0) << condition << '\n' << result.output << result.error;
  }
  static std::string Statistics(Element& element) {
    return element.Cfmctl({"show", "statistics", "--format", "json"}).output;
  }

  Element left_;
  Element right_;
};

TEST_F(TwoElements, SeeEachOtherAndShowIt) {
  const std::string status = left_.Cfmctl({"show", "status", "--format", "json"}).output;
  EXPECT_THAT(status, HasSubstr("rmep-ok"));
  EXPECT_THAT(status, HasSubstr("ago"));
  EXPECT_THAT(status, HasSubstr("2500ms"));
  EXPECT_THAT(Statistics(left_), HasSubstr("mep-ccms-sent"));
  EXPECT_THAT(Statistics(left_), HasSubstr("rmep-ccms-received"));
  EXPECT_EQ(left_.Cfmctl({"clear-statistics", "--ma", "gold"}).status, 0);
}

TEST_F(TwoElements, SeeACutWireAndItsMending) {
  Cut();
  ExpectSoon(left_, "defect=R");
  ExpectSoon(right_, "defect=R");
  ExpectSoon(left_, "state=rmep-failed");
  Mend();
  ExpectSoon(left_, "state=rmep-ok");
  ExpectSoon(right_, "defect!=R");
}

TEST_F(TwoElements, RecordsComeBackWhenTheAgentDoes) {
  left_.KillAgent();
  ASSERT_TRUE(left_.StartAgent().AwaitReady());
  ASSERT_EQ(left_.Cfmctl({"status", "--wait", "20", "--for", "daemon"}).status, 0);
  ExpectSoon(left_, "state=rmep-ok");
  EXPECT_THAT(left_.Daemon().Log(), Not(HasSubstr("severity=1")));
}

TEST_F(TwoElements, ADaemonThatIsStartedAnewReplacesTheRecordsOfItsPredecessor) {
  left_.KillDaemon();
  ASSERT_TRUE(left_.StartDaemon().AwaitReady()) << left_.Daemon().Log();
  ExpectSoon(left_, "state=rmep-ok");
  const std::string status = left_.Cfmctl({"show", "status", "--format", "json"}).output;
  EXPECT_EQ(status.find("\"local-mep\""), status.rfind("\"local-mep\"")) << status;
}

TEST_F(TwoElements, AManagerThatDiesAndComesBackIsShownAnew) {
  left_.KillManager();
  ExpectSoon(right_, "defect=R");
  ASSERT_TRUE(left_.StartManager().AwaitReady());
  ExpectSoon(left_, "state=rmep-ok");
  ExpectSoon(right_, "state=rmep-ok");
  EXPECT_THAT(Statistics(left_), HasSubstr("mep-ccms-sent"));
  EXPECT_THAT(left_.Daemon().Log(), Not(HasSubstr("severity=1")));
}

TEST_F(TwoElements, ADeletedMepLeavesTheStatus) {
  ASSERT_EQ(left_.Cfmctl({"delete", "md{provider}"}).status, 0);
  // The other side sees it seconds after the status has gone here.
  ExpectSoon(right_, "defect=R");
  EXPECT_THAT(left_.Cfmctl({"show", "status", "--format", "json"}).output,
              Not(HasSubstr("provider")));
  EXPECT_THAT(left_.Daemon().Log(), Not(HasSubstr("severity=1")));
}

}  // namespace
