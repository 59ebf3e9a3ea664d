#include "core/status_changes.h"

#include <gmock/gmock.h>

#include "records.h"

namespace cfmctl {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

class StatusBoardTest : public testing::Test {
 protected:
  std::vector<std::string> Apply(const std::string& path, const std::optional<TreeNode>& entry) {
    std::vector<std::string> lines;
    for (const StatusChange& change : board_.Apply(path, entry)) {
      lines.push_back(ToText(change));
    }
    return lines;
  }

  StatusBoard board_;
};

TEST_F(StatusBoardTest, SaysWhatChangedFromWhatToWhat) {
  EXPECT_THAT(Apply("/r", test::RemoteRecord()),
              ElementsAre("remote MEP 7 of md{east}/ma{blue}/mep{5} appeared, state rmep-ok"));
  TreeNode changed = test::With(test::RemoteRecord(), "state", "rmep-failed");
  changed = test::With(changed, "rx-rdi", "true");
  EXPECT_THAT(
      Apply("/r", changed),
      ElementsAre("remote MEP 7 of md{east}/ma{blue}/mep{5}: rx-rdi false -> true",
                  "remote MEP 7 of md{east}/ma{blue}/mep{5}: state rmep-ok -> rmep-failed"));
  EXPECT_THAT(Apply("/r", changed), IsEmpty());
  EXPECT_THAT(Apply("/r", std::nullopt),
              ElementsAre("remote MEP 7 of md{east}/ma{blue}/mep{5} went away"));
}

TEST_F(StatusBoardTest, ExplainsDefects) {
  EXPECT_THAT(Apply("/l", test::LocalRecord()),
              ElementsAre("local MEP md{east}/ma{blue}/mep{5} appeared, defects -"));
  EXPECT_THAT(Apply("/l", test::With(test::LocalRecord(), "defects", "AR")),
              ElementsAre("local MEP md{east}/ma{blue}/mep{5}: defects - -> AR (RDI, remote CCM)"));
}

TEST_F(StatusBoardTest, ARecordThatIsWrittenLeafByLeafAppearsOnce) {
  const TreeNode whole = test::LocalRecord();
  TreeNode record = test::Entry("local", {});
  std::vector<std::string> lines;
  for (const TreeNode& leaf : whole.children) {
    record.children.push_back(leaf);
    std::ranges::move(Apply("/l", record), std::back_inserter(lines));
  }
  EXPECT_THAT(lines, ElementsAre("local MEP md{east}/ma{blue}/mep{5} appeared, defects -"));
}

TEST_F(StatusBoardTest, ALeafThatGoesAwayIsAChange) {
  Apply("/l", test::LocalRecord());
  TreeNode record = test::LocalRecord();
  record.children.pop_back();
  EXPECT_THAT(Apply("/l", record),
              ElementsAre("local MEP md{east}/ma{blue}/mep{5}: block-state Forwarding -> none"));
}

TEST_F(StatusBoardTest, AnEmptyValueIsSeen) {
  Apply("/r", test::RemoteRecord());
  EXPECT_THAT(Apply("/r", test::With(test::RemoteRecord(), "rx-sender-id", "")),
              ElementsAre("remote MEP 7 of md{east}/ma{blue}/mep{5}: rx-sender-id ring & <east> -> "
                          "\"\""));
}

TEST_F(StatusBoardTest, ARecordThatIsUsedForAnotherMepIsADepartureAndAnAppearance) {
  Apply("/l", test::LocalRecord("0", "5"));
  EXPECT_THAT(Apply("/l", test::LocalRecord("0", "6")),
              ElementsAre("local MEP md{east}/ma{blue}/mep{5} went away",
                          "local MEP md{east}/ma{blue}/mep{6} appeared, defects -"));
}

TEST_F(StatusBoardTest, ARemoteMepStaysTheSameWhoeverSeesIt) {
  Apply("/r", test::RemoteRecord());
  EXPECT_THAT(Apply("/r", test::With(test::RemoteRecord(), "local-mep", "6")), IsEmpty());
}

TEST_F(StatusBoardTest, ARecordThatNobodyKnewGoesSilently) {
  EXPECT_THAT(Apply("/l", std::nullopt), IsEmpty());
  Apply("/l", test::Entry("local", {test::Leaf("id", "0")}));
  EXPECT_THAT(Apply("/l", std::nullopt), IsEmpty());
}

TEST_F(StatusBoardTest, HasTheRecordsThatAreSelected) {
  Apply("/l", test::LocalRecord());
  Apply("/r", test::RemoteRecord());
  Apply("/gone", test::LocalRecord("9", "6"));
  Apply("/gone", std::nullopt);
  EXPECT_THAT(board_.All(), SizeIs(2));
  EXPECT_EQ(board_.Count({}), 2U);
  EXPECT_EQ(board_.Count({"east", "blue", 7}), 1U);
  EXPECT_EQ(board_.Count({"east", "blue", 5}), 2U);
  EXPECT_EQ(board_.Count({"west", {}, {}}), 0U);
  ASSERT_NE(board_.Find("/r"), nullptr);
  EXPECT_EQ(board_.Find("/r")->name, "remote");
  EXPECT_EQ(board_.Find("/gone"), nullptr);
}

TEST_F(StatusBoardTest, HasTheRecordsInTheOrderOfTheirNumbers) {
  for (const int id : {10, 9, 100}) {
    Apply(test::LocalPath(id), test::LocalRecord(std::to_string(id), std::to_string(id)));
  }
  std::vector<std::string> paths;
  for (const auto& [path, record] : board_.All()) {
    paths.push_back(path);
  }
  EXPECT_THAT(paths, ElementsAre(test::LocalPath(9), test::LocalPath(10), test::LocalPath(100)));
}

}  // namespace
}  // namespace cfmctl
