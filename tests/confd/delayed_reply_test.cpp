// Reads that are answered after their callback has returned.
#include <gmock/gmock.h>

#include <fcntl.h>
#include <sys/socket.h>

#include "confd/provider_program.h"

namespace {

using cfm::agent::ProviderReply;
using test::ReplyInt32;
using testing::HasSubstr;

using DelayedReply = test::ProviderTest;

void ExpectTooLate(confd_trans_ctx* context) {
  EXPECT_EQ(ReplyInt32(context, 1), CONFD_ERR);
  EXPECT_EQ(confd_errno, CONFD_ERR_BADSTATE);
  EXPECT_THAT(confd_lasterr(), HasSubstr("the agent has given"));
}

TEST_F(DelayedReply, IsSentWhenTheProgramHasIt) {
  Open(1);
  confd_trans_ctx* const parked = Park(1);
  EXPECT_TRUE(agent_.HasSaidNothing(agent_.Worker()));
  ASSERT_EQ(ReplyInt32(parked, 6), CONFD_OK);
  EXPECT_EQ(agent_.Take(agent_.Worker()).value().number(), 6);
  Close(1);
}

TEST_F(DelayedReply, MayComeInAnotherOrderThanTheReads) {
  Open(1);
  Open(2);
  confd_trans_ctx* const first = Park(1);
  confd_trans_ctx* const second = Park(2);
  ASSERT_EQ(ReplyInt32(second, 20), CONFD_OK);
  ASSERT_EQ(ReplyInt32(first, 10), CONFD_OK);
  const auto later = agent_.Take(agent_.Worker());
  const auto earlier = agent_.Take(agent_.Worker());
  EXPECT_EQ(later.value().number(), 20);
  EXPECT_EQ(earlier.value().number(), 10);
  EXPECT_EQ(later.id(), earlier.id() + 1);
}

TEST_F(DelayedReply, IsTakenOnce) {
  Open(1);
  confd_trans_ctx* const parked = Park(1);
  ASSERT_EQ(ReplyInt32(parked, 6), CONFD_OK);
  EXPECT_EQ(ReplyInt32(parked, 6), CONFD_ERR);
  Close(1);
  EXPECT_EQ(ReplyInt32(parked, 6), CONFD_ERR);
  agent_.Take(agent_.Worker());
  EXPECT_TRUE(agent_.HasSaidNothing(agent_.Worker()));
}

TEST_F(DelayedReply, AfterTheEndOfTheTransactionIsTooLateEachTime) {
  Open(1);
  confd_trans_ctx* const parked = Park(1);
  Close(1);
  EXPECT_EQ(parked->thandle, 1);  // still the program's
  ExpectTooLate(parked);
  ExpectTooLate(parked);
  EXPECT_TRUE(agent_.HasSaidNothing(agent_.Worker()));
}

TEST_F(DelayedReply, OfAnOldTransactionDoesNotAnswerANewOneOfItsNumber) {
  Open(1);
  confd_trans_ctx* const old = Park(1);
  Close(1);
  Open(1);
  confd_trans_ctx* const parked = Park(1);
  EXPECT_NE(parked, old);
  ExpectTooLate(old);
  ASSERT_EQ(ReplyInt32(parked, 2), CONFD_OK);
  EXPECT_EQ(agent_.Take(agent_.Worker()).value().number(), 2);
}

TEST_F(DelayedReply, GoesToItsOwnReadOfTheTransaction) {
  int number = 5;
  program_.does.init = [&](confd_trans_ctx* transaction) {
    transaction->t_opaque = &number;
    return CONFD_OK;
  };
  Open(1);
  confd_trans_ctx* const first = Park(1);
  confd_trans_ctx* const second = Park(1);
  EXPECT_NE(second, first);
  EXPECT_EQ(second->thandle, 1);
  EXPECT_EQ(second->t_opaque, &number);
  EXPECT_EQ(second->fd, program_.Worker());
  program_.does.get_elem = [](confd_trans_ctx* transaction, confd_hkeypath_t*) {
    return ReplyInt32(transaction, 3);
  };
  EXPECT_EQ(Read(1).value().number(), 3);
  ASSERT_EQ(ReplyInt32(second, 2), CONFD_OK);
  ASSERT_EQ(ReplyInt32(first, 1), CONFD_OK);
  const auto later = agent_.Take(agent_.Worker());
  const auto earlier = agent_.Take(agent_.Worker());
  EXPECT_EQ(later.value().number(), 2);
  EXPECT_EQ(earlier.value().number(), 1);
  EXPECT_EQ(later.id(), earlier.id() + 1);
  Close(1);
}

TEST_F(DelayedReply, OfEachReadIsTooLateAfterTheEndOfTheTransaction) {
  Open(1);
  Open(2);
  confd_trans_ctx* const first = Park(1);
  confd_trans_ctx* const second = Park(1);
  confd_trans_ctx* const other = Park(2);
  Close(1);
  ExpectTooLate(second);
  ExpectTooLate(first);
  EXPECT_TRUE(agent_.HasSaidNothing(agent_.Worker()));
  EXPECT_EQ(ReplyInt32(other, 1), CONFD_OK);
}

TEST_F(DelayedReply, AfterTheLossOfTheAgentIsAnError) {
  Open(1);
  confd_trans_ctx* const parked = Park(1);
  agent_.Die();
  EXPECT_EQ(program_.WorkControl(), CONFD_EOF);
  EXPECT_EQ(program_.WorkWorker(), CONFD_EOF);
  program_.CloseSockets();
  EXPECT_EQ(ReplyInt32(parked, 1), CONFD_ERR);
  EXPECT_EQ(ReplyInt32(parked, 1), CONFD_ERR);
}

TEST_F(DelayedReply, DoesNotGoToAnotherSocketWithTheOldNumber) {
  Open(1);
  confd_trans_ctx* const parked = Park(1);
  const int number = program_.Worker();
  program_.CloseSockets();
  int pair[2];
  ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, pair), 0);
  const ipc::UniqueFd one(pair[0]);
  const ipc::UniqueFd other(pair[1]);
  const ipc::UniqueFd stranger(fcntl(pair[0], F_DUPFD, number));
  ASSERT_TRUE(one.Get() == number || other.Get() == number || stranger.Get() == number);
  EXPECT_EQ(ReplyInt32(parked, 1), CONFD_ERR);
  EXPECT_TRUE(agent_.HasSaidNothing(one.Get()));
  EXPECT_TRUE(agent_.HasSaidNothing(other.Get()));
}

TEST_F(DelayedReply, AfterTheReleaseOfTheDaemonIsAnError) {
  Open(1);
  confd_trans_ctx* const parked = Park(1);
  program_.Release();
  EXPECT_EQ(ReplyInt32(parked, 1), CONFD_ERR);
}

TEST_F(DelayedReply, WhatIsNoTransactionIsRefused) {
  confd_trans_ctx stranger{};
  EXPECT_EQ(ReplyInt32(&stranger, 1), CONFD_ERR);
  EXPECT_EQ(confd_data_reply_not_found(nullptr), CONFD_ERR);
  EXPECT_EQ(confd_data_reply_next_key(nullptr, nullptr, -1, -1), CONFD_ERR);
  confd_trans_seterr(&stranger, "nobody hears it");
}

}  // namespace
