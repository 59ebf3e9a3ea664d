// Two elements on a wire: status, statistics and the clear action from the
// wire to the operator.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>

#include <fstream>

#include "continuity.h"
#include "element.h"

namespace {

using test::Element;
using testing::HasSubstr;
using testing::Not;

class TwoElements : public testing::Test {
 protected:
  void SetUp() override {
    for (Element* element : {&left_, &right_}) {
      element->SetInterfaces(test::TableOfWire(Wire()));
      element->StartAll();
    }
    test::Configure(left_, {.meps = {1}, .remotes = {2}});
    test::Configure(right_, {.meps = {2}, .remotes = {1}});
    ExpectSoon(left_, "state=rmep-ok");
    ExpectSoon(right_, "state=rmep-ok");
  }

  std::string Wire() const { return (left_.Directory() / "gold").string(); }
  void Cut() { std::ofstream(Wire() + ".cut"); }
  void Mend() { std::filesystem::remove(Wire() + ".cut"); }

  static void ExpectSoon(Element& element, const std::string& condition) {
    test::ExpectSoon(element, {condition});
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
