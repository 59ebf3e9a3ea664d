#include "core/status_condition.h"

#include <gmock/gmock.h>

#include "records.h"

namespace cfmctl {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

std::string WhyNoCondition(const char* text) {
  try {
    ParseCondition(text);
    return "it is one";
  } catch (const ConditionError& error) {
    return error.what();
  }
}

std::vector<std::string> Unmet(const char* condition, const std::vector<TreeNode>& records,
                               const std::vector<MepName>& expected = {}) {
  std::vector<const TreeNode*> pointers;
  for (const TreeNode& record : records) {
    pointers.push_back(&record);
  }
  return cfmctl::Unmet(ParseCondition(condition), pointers, expected);
}

TEST(ParseCondition, NamesALeafAndAValueOfIt) {
  const StatusCondition equal = ParseCondition("state=rmep-ok");
  EXPECT_EQ(equal.leaf, "state");
  EXPECT_TRUE(equal.equal);
  EXPECT_EQ(equal.value, "rmep-ok");
  const StatusCondition not_equal = ParseCondition("defect!=R");
  EXPECT_EQ(not_equal.leaf, "defect");
  EXPECT_FALSE(not_equal.equal);
  EXPECT_EQ(not_equal.value, "R");
  EXPECT_EQ(ParseCondition("rx-sender-id=a=b").value, "a=b");
}

TEST(ParseCondition, SaysWhatIsWrong) {
  EXPECT_EQ(WhyNoCondition("ok"), "\"ok\" is no condition: LEAF=VALUE or LEAF!=VALUE is one");
  EXPECT_THAT(WhyNoCondition("stat=rmep-ok"), HasSubstr("there is no leaf \"stat\" (there is "
                                                        "defect, mac-address, tx-rdi, defects,"));
  EXPECT_THAT(WhyNoCondition("=x"), HasSubstr("there is no leaf \"\""));
  EXPECT_THAT(WhyNoCondition("md=east"), HasSubstr("there is no leaf"));
  EXPECT_THAT(WhyNoCondition("level=3"), HasSubstr("there is no leaf"));
  EXPECT_EQ(WhyNoCondition("state=ok"),
            "condition \"state=ok\": state is one of rmep-idle, rmep-start, rmep-failed, rmep-ok");
  EXPECT_EQ(WhyNoCondition("defect=r"), "condition \"defect=r\": defect is one of A, S, R, I, X");
}

TEST(CompleteCondition, OffersLeavesThatHaveAKnownSetOfValues) {
  EXPECT_THAT(CompleteCondition("state!=rmep-o"), ElementsAre("state!=rmep-ok"));
  EXPECT_THAT(CompleteCondition("tx-rdi="), ElementsAre("tx-rdi=false", "tx-rdi=true"));
  EXPECT_THAT(CompleteCondition("mac"), IsEmpty());
}

TEST(Condition, EqualMeansEveryMepOfThatKind) {
  const TreeNode failed = test::With(test::RemoteRecord("2", "8"), "state", "rmep-failed");
  EXPECT_THAT(Unmet("state=rmep-ok", {test::LocalRecord(), test::RemoteRecord()}), IsEmpty());
  EXPECT_THAT(Unmet("state=rmep-ok", {test::RemoteRecord(), failed}),
              ElementsAre("remote MEP 8 of md{east}/ma{blue}/mep{5}: state is rmep-failed"));
}

TEST(Condition, NotEqualMeansNoMepOfThatKind) {
  const TreeNode failed = test::With(test::RemoteRecord("2", "8"), "state", "rmep-failed");
  EXPECT_THAT(Unmet("state!=rmep-failed", {test::RemoteRecord()}), IsEmpty());
  EXPECT_THAT(Unmet("state!=rmep-failed", {test::RemoteRecord(), failed}),
              ElementsAre("remote MEP 8 of md{east}/ma{blue}/mep{5}: state is rmep-failed"));
}

TEST(Condition, ADefectIsOneOfTheLetters) {
  const TreeNode local = test::With(test::LocalRecord(), "defects", "AR");
  EXPECT_THAT(Unmet("defect=R", {local}), IsEmpty());
  EXPECT_THAT(Unmet("defect!=X", {local}), IsEmpty());
  EXPECT_THAT(Unmet("defect!=A", {local}),
              ElementsAre("local MEP md{east}/ma{blue}/mep{5}: defects is AR"));
  EXPECT_THAT(Unmet("defect=R", {test::LocalRecord()}),
              ElementsAre("local MEP md{east}/ma{blue}/mep{5}: defects is -"));
  EXPECT_THAT(Unmet("defects=-", {test::LocalRecord()}), IsEmpty());
}

TEST(Condition, ALeafThatIsNotWrittenYetMeetsNothing) {
  TreeNode record = test::LocalRecord();
  record.children.resize(4);
  for (const char* condition : {"defect=R", "defect!=R"}) {
    EXPECT_THAT(Unmet(condition, {record}),
                ElementsAre("local MEP md{east}/ma{blue}/mep{5}: defects is not known yet"));
  }
}

TEST(Condition, NeedsAMepAtAll) {
  EXPECT_THAT(Unmet("state!=rmep-failed", {test::LocalRecord()}),
              ElementsAre("no MEP has a status with state"));
}

TEST(Condition, WaitsForMepsThatAreConfiguredWithoutAStatusYet) {
  const MepName seven{"east", "blue", true, {}, 7};
  const MepName eight{"east", "blue", true, {}, 8};
  const MepName local{"east", "blue", false, {}, 5};
  EXPECT_THAT(Unmet("state=rmep-ok", {test::RemoteRecord()}, {seven, local}), IsEmpty());
  EXPECT_THAT(Unmet("state=rmep-ok", {test::RemoteRecord()}, {seven, eight}),
              ElementsAre("remote MEP 8 of md{east}/ma{blue}: has no status yet"));
  EXPECT_THAT(Unmet("defect!=R", {}, {local}),
              ElementsAre("local MEP md{east}/ma{blue}/mep{5}: has no status yet"));
}

}  // namespace
}  // namespace cfmctl
