#include "core/status_condition.h"

#include <gmock/gmock.h>

#include "core/condition_watch.h"
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

std::string PathOf(std::size_t record) {
  return test::LocalPath(static_cast<int>(record));
}

std::vector<std::string> Unmet(const char* condition, const std::vector<TreeNode>& records,
                               const std::vector<MepName>& expected = {},
                               const MepSelection& selection = {}) {
  ConditionWatch watch(ParseCondition(condition), selection, expected);
  for (std::size_t i = 0; i < records.size(); ++i) {
    watch.Update(PathOf(i), &records[i]);
  }
  const auto lines = watch.Unmet();
  EXPECT_EQ(watch.Holds(), lines.empty());
  return lines;
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

TEST(ParseCondition, ChecksValuesThatTheModelLeavesOpen) {
  EXPECT_EQ(WhyNoCondition("block-state=Blocked"), "it is one");
  EXPECT_EQ(WhyNoCondition("block-state=blocked"),
            "condition \"block-state=blocked\": block-state is one of N/A, Forwarding, Blocked");
  EXPECT_EQ(WhyNoCondition("mac-address=02:00:00:00:0a:05"), "it is one");
  for (const char* text : {"mac-address=02:00:00:00:0A:05", "mac-address=", "mac-address=02-00",
                           "mac-address=02:00:00:00:00:5", "mac-address!=02:00:00:00:00:0g"}) {
    EXPECT_THAT(WhyNoCondition(text), HasSubstr("is written like 02:00:00:00:00:0a")) << text;
  }
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

TEST(Condition, AnEmptyValueIsSeen) {
  EXPECT_THAT(Unmet("rx-sender-id=x", {test::With(test::RemoteRecord(), "rx-sender-id", "")}),
              ElementsAre("remote MEP 7 of md{east}/ma{blue}/mep{5}: rx-sender-id is \"\""));
}

TEST(Condition, AnExpectedRemoteMepCountsWhoeverReportsIt) {
  const MepName seven{"east", "blue", true, {}, 7};
  const TreeNode by_six = test::With(test::RemoteRecord(), "local-mep", "6");
  const MepSelection five{"east", "blue", 5};
  EXPECT_THAT(Unmet("state=rmep-ok", {by_six}, {seven}, five), IsEmpty());
  EXPECT_THAT(Unmet("state=rmep-ok", {by_six}, {}, five),
              ElementsAre("no MEP has a status with state"));
}

TEST(Condition, FollowsEachRecordAsItComesChangesAndGoes) {
  const MepName seven{"east", "blue", true, {}, 7};
  ConditionWatch watch(ParseCondition("state=rmep-ok"), {}, {seven});
  EXPECT_FALSE(watch.Holds());
  const TreeNode ok = test::RemoteRecord();
  const TreeNode failed = test::With(ok, "state", "rmep-failed");
  watch.Update("/1", &failed);
  EXPECT_FALSE(watch.Holds());
  watch.Update("/1", &ok);
  EXPECT_TRUE(watch.Holds());
  const TreeNode eight = test::With(test::RemoteRecord("2", "8"), "state", "rmep-start");
  watch.Update("/2", &eight);
  EXPECT_FALSE(watch.Holds());
  watch.Update("/2", nullptr);
  EXPECT_TRUE(watch.Holds()) << "nobody expects it";
  watch.Update("/3", &ok);
  watch.Update("/1", nullptr);
  EXPECT_TRUE(watch.Holds()) << "the same MEP has another record";
  watch.Update("/3", nullptr);
  EXPECT_THAT(watch.Unmet(), ElementsAre("remote MEP 7 of md{east}/ma{blue}: has no status yet"));
}

TEST(Condition, ARecordThatIsUsedForAnotherMepCountsForThatOne) {
  ConditionWatch watch(ParseCondition("state=rmep-ok"), {"east", "blue", 7}, {});
  const TreeNode seven = test::RemoteRecord();
  const TreeNode eight = test::RemoteRecord("1", "8");
  watch.Update("/1", &seven);
  EXPECT_TRUE(watch.Holds());
  watch.Update("/1", &eight);
  EXPECT_THAT(watch.Unmet(), ElementsAre("no MEP has a status with state"));
}

}  // namespace
}  // namespace cfmctl
