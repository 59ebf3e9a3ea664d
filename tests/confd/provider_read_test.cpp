// Reads of the agent's and the program's answers.
#include <gmock/gmock.h>

#include <array>
#include <stdexcept>

#include "confd/data_tree.h"
#include "confd/provider_program.h"

namespace {

using cfm::agent::ProviderReply;
using test::ReplyInt32;
using testing::HasSubstr;

using ProviderRead = test::ProviderTest;

TEST_F(ProviderRead, RunsInsideATransaction) {
  std::vector<std::string> calls;
  confd_trans_ctx* context = nullptr;
  program_.does.init = [&](confd_trans_ctx* transaction) {
    calls.emplace_back("init");
    context = transaction;
    transaction->t_opaque = &calls;
    return CONFD_OK;
  };
  program_.does.get_elem = [&](confd_trans_ctx* transaction, confd_hkeypath_t*) {
    EXPECT_EQ(transaction, context);
    EXPECT_EQ(transaction->thandle, 5);
    EXPECT_EQ(transaction->fd, program_.Worker());
    EXPECT_EQ(transaction->dx, program_.Daemon());
    EXPECT_EQ(transaction->t_opaque, &calls);
    calls.emplace_back(static_cast<const char*>(transaction->cb_opaque));
    return ReplyInt32(transaction, 7);
  };
  program_.does.finish = [&](confd_trans_ctx* transaction) {
    EXPECT_EQ(transaction, context);
    calls.emplace_back("finish");
    return CONFD_OK;
  };
  Open(5);
  const auto reply = Read(5);
  EXPECT_EQ(reply.result(), ProviderReply::OK);
  EXPECT_EQ(reply.value().type(), C_INT32);
  EXPECT_EQ(reply.value().number(), 7);
  Close(5);
  EXPECT_THAT(calls, testing::ElementsAre("init", "of level", "finish"));
}

TEST_F(ProviderRead, TheKeypathHasTheLeafFirstAndTypedKeys) {
  Open(1);
  program_.does.get_elem = [](confd_trans_ctx* transaction, confd_hkeypath_t* keypath) {
    EXPECT_EQ(keypath->len, 6);
    EXPECT_EQ(keypath->v[0][0].type, C_XMLTAG);
    EXPECT_EQ(CONFD_GET_XMLTAG(&keypath->v[0][0]), 0x7dec02bdU);
    EXPECT_EQ(CONFD_GET_XMLTAG_NS(&keypath->v[0][0]), 0x76d9c9b9U);
    EXPECT_EQ(keypath->v[1][0].type, C_INT64);
    EXPECT_EQ(CONFD_GET_INT64(&keypath->v[1][0]), 3);
    EXPECT_EQ(keypath->v[1][1].type, C_NOEXISTS);
    EXPECT_EQ(CONFD_GET_XMLTAG(&keypath->v[2][0]), 0x7ef235bfU);
    EXPECT_EQ(CONFD_GET_XMLTAG(&keypath->v[5][0]), 0x1006U);
    EXPECT_EQ(keypath->v[6][0].type, C_NOEXISTS);
    return ReplyInt32(transaction, 0);
  };
  EXPECT_EQ(Read(1).result(), ProviderReply::OK);
}

TEST_F(ProviderRead, ValuesOfEachTypeArriveWhole) {
  Open(1);
  std::array<confd_value_t, 9> values{};
  CONFD_SET_STR(&values[0], "one");
  CONFD_SET_BUF(&values[1], reinterpret_cast<unsigned char*>(const_cast<char*>("two\0x")), 5);
  CONFD_SET_INT32(&values[2], -5);
  CONFD_SET_UINT32(&values[3], 0xffffffffU);
  CONFD_SET_UINT64(&values[4], UINT64_MAX);
  CONFD_SET_INT64(&values[5], INT64_MIN);
  CONFD_SET_ENUM_VALUE(&values[6], 3);
  CONFD_SET_BOOL(&values[7], 1);
  CONFD_SET_XMLTAG(&values[8], 0x11, 0x22);
  std::vector<cfm::agent::Value> got;
  for (const confd_value_t& value : values) {
    program_.does.get_elem = [&](confd_trans_ctx* transaction, confd_hkeypath_t*) {
      return confd_data_reply_value(transaction, &value);
    };
    const auto reply = Read(1);
    ASSERT_EQ(reply.result(), ProviderReply::OK);
    got.push_back(reply.value());
  }
  EXPECT_EQ(got[0].type(), C_BUF);
  EXPECT_EQ(got[0].text(), "one");
  EXPECT_EQ(got[1].text(), std::string("two\0x", 5));
  EXPECT_EQ(got[2].number(), -5);
  EXPECT_EQ(got[3].type(), C_UINT32);
  EXPECT_EQ(got[3].number(), 0xffffffffLL);
  EXPECT_EQ(static_cast<std::uint64_t>(got[4].number()), UINT64_MAX);
  EXPECT_EQ(got[5].number(), INT64_MIN);
  EXPECT_EQ(got[6].type(), C_ENUM_VALUE);
  EXPECT_EQ(got[7].number(), 1);
  EXPECT_EQ(got[8].tag(), 0x11U);
  EXPECT_EQ(got[8].ns(), 0x22U);
}

TEST_F(ProviderRead, ALeafMayHaveNoValue) {
  Open(1);
  program_.does.get_elem = [](confd_trans_ctx* transaction, confd_hkeypath_t*) {
    return confd_data_reply_not_found(transaction);
  };
  EXPECT_EQ(Read(1).result(), ProviderReply::NOT_FOUND);
}

TEST_F(ProviderRead, ATraversalHandsTheCursorBackAndForth) {
  Open(1);
  program_.does.get_next = [](confd_trans_ctx* transaction, confd_hkeypath_t*, long next) {
    confd_value_t key;
    CONFD_SET_INT32(&key, 100 + static_cast<int>(next));
    return next == 2 ? confd_data_reply_next_key(transaction, nullptr, -1, -1)
                     : confd_data_reply_next_key(transaction, &key, 1, next + 2);
  };
  std::vector<std::int64_t> keys;
  std::int64_t next = -1;
  for (;;) {
    const auto id = agent_.GetNext(1, "state", next - (next == -1 ? 0 : 1));
    ASSERT_EQ(program_.WorkWorker(), CONFD_OK);
    const auto reply = agent_.Take(agent_.Worker());
    ASSERT_EQ(reply.id(), id);
    next = reply.next();
    if (reply.result() == ProviderReply::NOT_FOUND) {
      break;
    }
    ASSERT_EQ(reply.keys_size(), 1);
    keys.push_back(reply.keys(0).number());
    next = reply.next();
  }
  EXPECT_EQ(next, -1);
  EXPECT_THAT(keys, testing::ElementsAre(99, 100, 101));
}

TEST_F(ProviderRead, AFailureIsToldToTheAgentAndTheProgram) {
  Open(1);
  program_.does.get_elem = [](confd_trans_ctx* transaction, confd_hkeypath_t*) {
    confd_trans_seterr(transaction, "record %d\nis broken", 3);
    return CONFD_ERR;
  };
  const auto reply = Read(1);
  EXPECT_EQ(reply.result(), ProviderReply::ERROR);
  EXPECT_EQ(reply.error(), "callpoint level: record 3?is broken");
  agent_.GetElem(1, "level");
  EXPECT_EQ(program_.WorkWorker(), CONFD_ERR);
  EXPECT_EQ(confd_errno, CONFD_ERR_EXTERNAL);
}

TEST_F(ProviderRead, TheTextOfAFailureIsNotThatOfTheNext) {
  Open(1);
  program_.does.get_elem = [](confd_trans_ctx* transaction, confd_hkeypath_t*) {
    confd_trans_seterr(transaction, "once");
    return CONFD_ERR;
  };
  Read(1);
  program_.does.get_elem = [](confd_trans_ctx*, confd_hkeypath_t*) { return CONFD_ERR; };
  EXPECT_EQ(Read(1).error(), "callpoint level: the callback failed");
}

TEST_F(ProviderRead, ACallbackThatThrowsHasFailed) {
  Open(1);
  program_.does.get_elem = [](confd_trans_ctx*, confd_hkeypath_t*) -> int {
    throw std::runtime_error("no");
  };
  EXPECT_EQ(Read(1).result(), ProviderReply::ERROR);
}

TEST_F(ProviderRead, ACallbackThatAnswersNothingHasFailed) {
  Open(1);
  program_.does.get_elem = [](confd_trans_ctx*, confd_hkeypath_t*) { return CONFD_OK; };
  EXPECT_EQ(Read(1).error(), "callpoint level: the callback did not answer");
}

TEST_F(ProviderRead, AnswersOncePerRequest) {
  Open(1);
  program_.does.get_elem = [](confd_trans_ctx* transaction, confd_hkeypath_t*) {
    EXPECT_EQ(ReplyInt32(transaction, 1), CONFD_OK);
    EXPECT_EQ(ReplyInt32(transaction, 2), CONFD_ERR);
    EXPECT_EQ(confd_errno, CONFD_ERR_BADSTATE);
    return CONFD_OK;
  };
  EXPECT_EQ(Read(1).value().number(), 1);
  EXPECT_TRUE(agent_.HasSaidNothing(agent_.Worker()));
}

TEST_F(ProviderRead, AnAnswerOfTheWrongKindIsRefusedAndTheRightOneTaken) {
  Open(1);
  program_.does.get_elem = [](confd_trans_ctx* transaction, confd_hkeypath_t*) {
    confd_value_t nothing;
    CONFD_SET_NOEXISTS(&nothing);
    EXPECT_EQ(confd_data_reply_next_key(transaction, nullptr, -1, -1), CONFD_ERR);
    EXPECT_EQ(confd_data_reply_value(transaction, nullptr), CONFD_ERR);
    EXPECT_EQ(confd_data_reply_value(transaction, &nothing), CONFD_ERR);
    EXPECT_EQ(confd_errno, CONFD_ERR_BADTYPE);
    return ReplyInt32(transaction, 4);
  };
  EXPECT_EQ(Read(1).value().number(), 4);
  program_.does.get_next = [](confd_trans_ctx* transaction, confd_hkeypath_t*, long) {
    confd_value_t key;
    CONFD_SET_INT32(&key, 1);
    EXPECT_EQ(ReplyInt32(transaction, 1), CONFD_ERR);
    EXPECT_EQ(confd_data_reply_next_key(transaction, &key, 0, 1), CONFD_ERR);
    EXPECT_EQ(confd_data_reply_next_key(transaction, &key, MAXKEYLEN + 1, 1), CONFD_ERR);
    return confd_data_reply_next_key(transaction, &key, 1, 1);
  };
  agent_.GetNext(1, "level", -1);
  ASSERT_EQ(program_.WorkWorker(), CONFD_OK);
  EXPECT_EQ(agent_.Take(agent_.Worker()).keys(0).number(), 1);
}

TEST_F(ProviderRead, ATransactionThatTheProgramRefusesIsNotOpen) {
  program_.does.init = [](confd_trans_ctx*) { return CONFD_ERR; };
  agent_.Init(1);
  EXPECT_EQ(program_.WorkControl(), CONFD_ERR);
  EXPECT_EQ(confd_errno, CONFD_ERR_EXTERNAL);
  EXPECT_EQ(agent_.Take(agent_.Control()).result(), ProviderReply::ERROR);
  EXPECT_EQ(Read(1).result(), ProviderReply::ERROR);
}

TEST_F(ProviderRead, InitHasToNameTheWorkerSocket) {
  program_.does.names_worker = false;
  agent_.Init(1);
  EXPECT_EQ(program_.WorkControl(), CONFD_ERR);
  EXPECT_THAT(agent_.Take(agent_.Control()).error(), HasSubstr("named no worker socket"));
}

TEST_F(ProviderRead, AFinishThatFailsEndsTheTransactionAllTheSame) {
  Open(1);
  program_.does.finish = [](confd_trans_ctx*) { return CONFD_ERR; };
  agent_.Finish(1);
  EXPECT_EQ(program_.WorkControl(), CONFD_ERR);
  EXPECT_EQ(agent_.Take(agent_.Control()).result(), ProviderReply::ERROR);
  program_.does.finish = nullptr;
  Open(1);
}

TEST_F(ProviderRead, WhatIsNotThereIsRefusedAndServiceGoesOn) {
  Open(1);
  agent_.GetElem(1, "nonsense");
  EXPECT_EQ(program_.WorkWorker(), CONFD_OK);
  EXPECT_EQ(agent_.Take(agent_.Worker()).error(), "the program has no callpoint nonsense");
  EXPECT_EQ(Read(2).error(), "no transaction 2 is open");
  agent_.Finish(2);
  EXPECT_EQ(program_.WorkControl(), CONFD_OK);
  EXPECT_EQ(agent_.Take(agent_.Control()).error(), "no transaction 2 is open");
  agent_.Init(1);
  EXPECT_EQ(program_.WorkControl(), CONFD_OK);
  EXPECT_EQ(agent_.Take(agent_.Control()).error(), "transaction 1 is open already");
  program_.does.get_elem = [](confd_trans_ctx* transaction, confd_hkeypath_t*) {
    return ReplyInt32(transaction, 4);
  };
  EXPECT_EQ(Read(1).result(), ProviderReply::OK);
}

TEST_F(ProviderRead, ADaemonMayBeReleasedInsideACallback) {
  Open(1);
  program_.does.get_elem = [this](confd_trans_ctx* transaction, confd_hkeypath_t*) {
    program_.Release();
    EXPECT_EQ(ReplyInt32(transaction, 4), CONFD_ERR);
    return CONFD_OK;
  };
  EXPECT_EQ(Read(1).result(), ProviderReply::ERROR);
}

TEST_F(ProviderRead, APingIsAnsweredWhileAReadIsParkedAndDisturbsNothing) {
  Open(7);
  confd_trans_ctx* const parked = Park(7);
  const auto id = agent_.Ping();
  EXPECT_EQ(program_.WorkControl(), CONFD_OK) << confd_lasterr();
  const auto pong = agent_.Take(agent_.Control());
  EXPECT_EQ(pong.id(), id);
  EXPECT_EQ(pong.result(), cfm::agent::ProviderReply::OK);
  EXPECT_EQ(ReplyInt32(parked, 3), CONFD_OK) << confd_lasterr();
  EXPECT_EQ(agent_.Take(agent_.Worker()).value().number(), 3);
}

}  // namespace
