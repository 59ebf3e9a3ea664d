// Requests that the agent takes back because their entry is deleted.
#include <confd_cdb.h>
#include <gmock/gmock.h>

#include "confd/connected.h"
#include "confd/provider_program.h"

namespace {

using cfm::agent::ProviderReply;
using test::FakeAgent;
using test::ReplyInt32;

class Withdrawal : public test::ProviderTest {
 protected:
  Withdrawal() {
    program_.does.get_elem = [this](confd_trans_ctx* transaction, confd_hkeypath_t*) {
      ++reads_;
      return ReplyInt32(transaction, 1);
    };
    Open(1);
  }

  // A delete that withdraws these requests.
  static void DeleteWithdrawing(std::vector<std::uint64_t> ids) {
    FakeAgent agent({[ids](int fd) {
      test::Welcome(fd, cfm::agent::ROLE_CDB_DATA);
      while (const auto request = test::TakeRequest(fd)) {
        if (request->has_operational_write()) {
          cfm::agent::Reply reply;
          reply.mutable_withdrawn()->Add(ids.begin(), ids.end());
          test::Answer(fd, reply);
        }
      }
    }});
    const test::Connected socket(agent, CDB_DATA_SOCKET);
    ASSERT_EQ(cdb_start_session(socket.Fd(), CDB_OPERATIONAL), CONFD_OK);
    ASSERT_EQ(cdb_delete(socket.Fd(), "/status/oam/cfm/local[%d]", 0), CONFD_OK);
  }

  int reads_ = 0;
};

TEST_F(Withdrawal, ARequestThatIsNotReadYetNeverReachesTheProgram) {
  const auto withdrawn = agent_.GetElem(1, "level");
  const auto wanted = agent_.GetElem(1, "level");
  DeleteWithdrawing({withdrawn});
  EXPECT_EQ(program_.WorkWorker(), CONFD_OK);
  EXPECT_EQ(reads_, 0);
  EXPECT_TRUE(agent_.HasSaidNothing(agent_.Worker()));
  EXPECT_EQ(program_.WorkWorker(), CONFD_OK);
  EXPECT_EQ(reads_, 1);
  EXPECT_EQ(agent_.Take(agent_.Worker()).id(), wanted);
}

TEST_F(Withdrawal, EveryRequestOfADeleteIsDropped) {
  std::vector<std::uint64_t> ids;
  for (int i = 0; i < 5; ++i) {
    ids.push_back(agent_.GetElem(1, "level"));
  }
  DeleteWithdrawing({ids[4], ids[1], ids[3]});
  for (int i = 0; i < 5; ++i) {
    EXPECT_EQ(program_.WorkWorker(), CONFD_OK);
  }
  EXPECT_EQ(reads_, 2);
  EXPECT_EQ(agent_.Take(agent_.Worker()).id(), ids[0]);
  EXPECT_EQ(agent_.Take(agent_.Worker()).id(), ids[2]);
}

TEST_F(Withdrawal, OfWhatIsAnsweredAlreadyChangesNothing) {
  const auto answered = Read(1);
  DeleteWithdrawing({answered.id()});
  EXPECT_EQ(Read(1).result(), ProviderReply::OK);
}

TEST_F(Withdrawal, OfAParkedReadMakesItsAnswerTooLate) {
  confd_trans_ctx* const parked = Park(1);
  const auto next = agent_.GetElem(1, "level");
  DeleteWithdrawing({next - 1});
  EXPECT_EQ(ReplyInt32(parked, 1), CONFD_ERR);
  EXPECT_STREQ(confd_lasterr(), "the answer comes too late: the agent has given the read up");
  EXPECT_TRUE(agent_.HasSaidNothing(agent_.Worker()));
}

TEST_F(Withdrawal, InsideTheVeryCallbackMakesTheAnswerTooLate) {
  const auto id = agent_.GetElem(1, "level");
  program_.does.get_elem = [id](confd_trans_ctx* transaction, confd_hkeypath_t*) {
    DeleteWithdrawing({id});
    EXPECT_EQ(ReplyInt32(transaction, 1), CONFD_ERR);
    return CONFD_DELAYED_RESPONSE;
  };
  EXPECT_EQ(program_.WorkWorker(), CONFD_OK);
  EXPECT_TRUE(agent_.HasSaidNothing(agent_.Worker()));
}

TEST_F(Withdrawal, OfReadsOfABatchBeforeItIsWorkedLeavesTheOthers) {
  const auto read = test::GetElem(1, "level", test::LevelOfLocal(3));
  const auto first = agent_.Ask(test::BatchOf({read, read, read}));
  DeleteWithdrawing({first, first + 2});
  EXPECT_EQ(program_.WorkWorker(), CONFD_OK);
  EXPECT_EQ(reads_, 1);
  const auto replies = agent_.TakeTogether();
  ASSERT_EQ(replies.size(), 1U);
  EXPECT_EQ(replies[0].id(), first + 1);
}

TEST_F(Withdrawal, OfAWholeBatchIsAnsweredWithNothing) {
  const auto read = test::GetElem(1, "level", test::LevelOfLocal(3));
  const auto first = agent_.Ask(test::BatchOf({read, read}));
  DeleteWithdrawing({first, first + 1});
  EXPECT_EQ(program_.WorkWorker(), CONFD_OK);
  EXPECT_EQ(reads_, 0);
  EXPECT_TRUE(agent_.HasSaidNothing(agent_.Worker()));
  EXPECT_EQ(Read(1).result(), ProviderReply::OK);
}

TEST_F(Withdrawal, BetweenTheReadsOfABatchKeepsThoseBehindFromTheProgram) {
  const auto read = test::GetElem(1, "level", test::LevelOfLocal(3));
  const auto first = agent_.Ask(test::BatchOf({read, read, read}));
  program_.does.get_elem = [&](confd_trans_ctx* transaction, confd_hkeypath_t*) {
    if (++reads_ == 1) {
      DeleteWithdrawing({first + 1});
    }
    return ReplyInt32(transaction, 1);
  };
  EXPECT_EQ(program_.WorkWorker(), CONFD_OK);
  EXPECT_EQ(reads_, 2);
  const auto replies = agent_.TakeTogether();
  ASSERT_EQ(replies.size(), 2U);
  EXPECT_EQ(replies[1].id(), first + 2);
}

TEST_F(Withdrawal, OfUnaskedReadsIsNoReplyForThem) {
  const auto read = test::GetElem(1, "level", test::LevelOfLocal(3));
  const auto first = agent_.Ask(test::BatchOf({read, read, read}));
  program_.does.get_elem = [&](confd_trans_ctx*, confd_hkeypath_t*) {
    DeleteWithdrawing({first + 2});
    return CONFD_DELAYED_RESPONSE;
  };
  EXPECT_EQ(program_.WorkWorker(), CONFD_OK);
  const auto replies = agent_.TakeTogether();
  ASSERT_EQ(replies.size(), 2U);
  EXPECT_EQ(replies[0].result(), ProviderReply::DELAYED);
  EXPECT_EQ(replies[1].id(), first + 1);
  EXPECT_EQ(replies[1].result(), ProviderReply::UNASKED);
}

TEST_F(Withdrawal, BetweenTheStepsOfAWalkEndsIt) {
  const auto first =
      agent_.Ask(test::BatchOf({test::GetNext(1, "state", test::LevelOfLocal(3), -1, 100),
                                test::GetElem(1, "level", test::LevelOfLocal(4))}));
  int steps = 0;
  program_.does.get_next = [&](confd_trans_ctx* transaction, confd_hkeypath_t*, long) {
    confd_value_t key;
    CONFD_SET_INT32(&key, 1);
    const int result = confd_data_reply_next_key(transaction, &key, 1, ++steps);
    if (steps == 2) {
      DeleteWithdrawing({first});
    }
    return result;
  };
  EXPECT_EQ(program_.WorkWorker(), CONFD_OK);
  EXPECT_EQ(steps, 2);
  const auto replies = agent_.TakeTogether();
  ASSERT_EQ(replies.size(), 1U);
  EXPECT_EQ(replies[0].id(), first + 1);
}

TEST_F(Withdrawal, WithoutAProviderIsHarmless) {
  program_.Release();
  DeleteWithdrawing({1, 2, 3});
}

}  // namespace
