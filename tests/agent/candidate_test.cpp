// The shared candidate configuration.
#include "fixture.h"
#include "running_agent.h"

namespace agentd::test {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;

const std::string kLevel = std::string(kEast) + "/level";

class Candidate : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(front_.Edit({Document(EastDocument())}).txid(), 1U); }

  RunningAgent agent_;
  Client front_{agent_, pb::ROLE_FRONT_END};
  Client other_{agent_, pb::ROLE_FRONT_END};
};

TEST_F(Candidate, IsEditedByManyComparedAndCommitted) {
  EXPECT_EQ(front_.Edit({SetLeaf(kLevel, "4")}, pb::Edit::CANDIDATE).errors_size(), 0);
  EXPECT_EQ(other_.Edit({Operation(pb::EditOperation::DELETE, kCheck5)}, pb::Edit::CANDIDATE)
                .errors_size(),
            0);
  EXPECT_TRUE(front_.Status().candidate_open());
  EXPECT_EQ(front_.DiffCandidate().diff_size(), 3);
  EXPECT_THAT(front_.Show(pb::DATASTORE_CANDIDATE), HasSubstr("<level>4</level>"));
  EXPECT_THAT(front_.Show(), HasSubstr("<level>3</level>"));
  EXPECT_EQ(front_.ValidateCandidate().errors_size(), 0);
  EXPECT_EQ(front_.CommitCandidate().txid(), 2U);
  EXPECT_THAT(front_.Show(),
              AllOf(HasSubstr("<level>4</level>"), Not(HasSubstr("continuity-check"))));
  EXPECT_FALSE(front_.Status().candidate_open());
}

TEST_F(Candidate, MayBeInvalidUntilItIsCommitted) {
  EXPECT_EQ(front_.Edit({Operation(pb::EditOperation::DELETE, kLevel)}, pb::Edit::CANDIDATE)
                .errors_size(),
            0);
  EXPECT_EQ(front_.ValidateCandidate().errors(0).rule(), "mandatory");
  EXPECT_EQ(front_.CommitCandidate().errors(0).path(), kLevel);
  EXPECT_EQ(front_.Edit({SetLeaf(kLevel, "6")}, pb::Edit::CANDIDATE).errors_size(), 0);
  EXPECT_EQ(front_.CommitCandidate().txid(), 2U);
}

TEST_F(Candidate, StaysAsItWasWhenAnEditIsRefused) {
  front_.Edit({SetLeaf(kLevel, "4")}, pb::Edit::CANDIDATE);
  const std::string before = front_.Show(pb::DATASTORE_CANDIDATE);
  EXPECT_EQ(
      front_.Edit({SetLeaf(kLevel, "5"), SetLeaf(kLevel, "9")}, pb::Edit::CANDIDATE).errors_size(),
      1);
  EXPECT_EQ(front_.Show(pb::DATASTORE_CANDIDATE), before);
}

TEST_F(Candidate, IsNotOpenedByAnEditThatIsRefused) {
  EXPECT_EQ(front_.Edit({SetLeaf(kLevel, "9")}, pb::Edit::CANDIDATE).errors_size(), 1);
  EXPECT_FALSE(front_.Status().candidate_open());
}

TEST_F(Candidate, IsDroppedByDiscard) {
  front_.Edit({SetLeaf(kLevel, "4")}, pb::Edit::CANDIDATE);
  EXPECT_EQ(other_.DiscardCandidate().errors_size(), 0);
  EXPECT_FALSE(front_.Status().candidate_open());
  EXPECT_THAT(front_.Show(pb::DATASTORE_CANDIDATE), HasSubstr("<level>3</level>"));
  EXPECT_EQ(front_.DiffCandidate().diff_size(), 0);
}

TEST_F(Candidate, IsRefusedWhenRunningHasMovedOn) {
  front_.Edit({SetLeaf(kLevel, "4")}, pb::Edit::CANDIDATE);
  EXPECT_EQ(other_.Edit({SetLeaf(kLevel, "5")}).txid(), 2U);
  const pb::Reply reply = front_.CommitCandidate();
  ASSERT_EQ(reply.errors_size(), 1);
  EXPECT_THAT(reply.errors(0).message(),
              AllOf(HasSubstr("commit 1"), HasSubstr("commit 2"), HasSubstr("discard")));
  EXPECT_TRUE(front_.Status().candidate_open());
  EXPECT_EQ(front_.ValidateCandidate().errors_size(), 1);
  // Its own edits, not those of others since.
  EXPECT_EQ(front_.DiffCandidate().diff(0).old_value(), "3");
}

TEST_F(Candidate, ThatNobodyHasOpenedCannotBeCommitted) {
  EXPECT_THAT(front_.CommitCandidate().errors(0).message(), HasSubstr("edit it first"));
  EXPECT_EQ(front_.ValidateCandidate().errors_size(), 1);
  EXPECT_EQ(front_.DiscardCandidate().errors_size(), 0);
}

TEST_F(Candidate, StandsStillWhileItIsCommitted) {
  Client subscriber(agent_, pb::ROLE_CDB_SUBSCRIPTION);
  subscriber.Subscribe(0, {"config", "oam", "cfm", "md"});
  subscriber.SubscribeDone();
  front_.Edit({SetLeaf(kLevel, "4")}, pb::Edit::CANDIDATE);
  pb::Request commit;
  commit.mutable_commit_candidate();
  front_.Send(commit);
  subscriber.ReceiveNotification();
  EXPECT_THAT(other_.Edit({SetLeaf(kLevel, "5")}, pb::Edit::CANDIDATE).errors(0).message(),
              HasSubstr("being committed"));
  EXPECT_THAT(other_.DiscardCandidate().errors(0).message(), HasSubstr("being committed"));
  subscriber.Sync();
  EXPECT_EQ(front_.Receive().txid(), 2U);
  EXPECT_FALSE(front_.Status().candidate_open());
}

}  // namespace
}  // namespace agentd::test
