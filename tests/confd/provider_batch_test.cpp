// Reads that come together: what is worked, in which order, and what goes back.
#include <gmock/gmock.h>

#include <confd_cdb.h>

#include "confd/connected.h"
#include "confd/data_tree.h"
#include "confd/provider_program.h"
#include "confd_client/daemon.h"

namespace {

using cfm::agent::ProviderReply;
using cfm::agent::ProviderRequest;
using test::BatchOf;
using test::GetElem;
using test::GetNext;
using test::LevelOfLocal;
using test::ReplyInt32;
using testing::ElementsAre;
using testing::HasSubstr;
using Results = std::vector<ProviderReply::Result>;

std::chrono::steady_clock::duration fake_now{};

class ProviderBatch : public test::ProviderTest {
 protected:
  ProviderBatch() {
    program_.does.get_elem = [this](confd_trans_ctx* transaction, confd_hkeypath_t* keypath) {
      seen_.push_back(KeyOf(*keypath));
      return ReplyInt32(transaction, static_cast<int>(KeyOf(*keypath)) + 100);
    };
    Open(1);
  }

  static std::int64_t KeyOf(const confd_hkeypath_t& keypath) {
    return CONFD_GET_INT64(&keypath.v[1][0]);
  }
  static ProviderRequest Level(std::int64_t key) { return GetElem(1, "level", LevelOfLocal(key)); }
  // A walk through 1 to `end`, then the callback returns `result`.
  void WalkTo(long end, int result = CONFD_OK) {
    program_.does.get_next = [this, end, result](confd_trans_ctx* transaction, confd_hkeypath_t*,
                                                 long next) {
      seen_.push_back(next);
      const long at = next == -1 ? 1 : next;
      if (at <= end) {
        confd_value_t key;
        CONFD_SET_INT32(&key, static_cast<int>(at));
        return confd_data_reply_next_key(transaction, &key, 1, at + 1);
      }
      parked_ = transaction;
      return result != CONFD_OK ? result : confd_data_reply_next_key(transaction, nullptr, -1, -1);
    };
  }
  static Results ResultsOf(const std::vector<ProviderReply>& replies) {
    Results results;
    for (const ProviderReply& reply : replies) {
      results.push_back(reply.result());
    }
    return results;
  }
  static std::vector<std::int64_t> KeysOf(const ProviderReply& reply) {
    std::vector<std::int64_t> keys;
    for (const auto& key : reply.keys()) {
      keys.push_back(key.number());
    }
    return keys;
  }

  std::vector<std::int64_t> seen_;  // keys and cursors, as the callbacks had them
  confd_trans_ctx* parked_ = nullptr;
};

TEST_F(ProviderBatch, IsWorkedInItsOrderAndAnsweredInOneMessage) {
  const auto first = agent_.Ask(BatchOf({Level(3), Level(1), Level(2)}));
  ASSERT_EQ(program_.WorkWorker(), CONFD_OK);
  EXPECT_THAT(seen_, ElementsAre(3, 1, 2));
  const auto replies = agent_.TakeTogether();
  ASSERT_EQ(replies.size(), 3U);
  for (std::size_t i = 0; i < replies.size(); ++i) {
    EXPECT_EQ(replies[i].id(), first + i);
    EXPECT_EQ(replies[i].value().number(), seen_[i] + 100);
  }
  EXPECT_TRUE(agent_.HasSaidNothing(agent_.Worker()));
}

TEST_F(ProviderBatch, AKeypathGoesOnFromTheOneBeforeIt) {
  auto batch = BatchOf({Level(7), Level(7), Level(8)});
  const auto shared_with_before = [&](int request, int own, std::uint32_t shared) {
    auto& keypath = *batch.mutable_requests(request)->mutable_get_elem()->mutable_keypath();
    while (keypath.elements_size() > own) {
      keypath.mutable_elements()->RemoveLast();
    }
    keypath.set_shared(shared);
  };
  shared_with_before(1, 1, 5);
  shared_with_before(2, 2, 4);
  std::vector<std::string> paths;
  program_.does.get_elem = [&](confd_trans_ctx* transaction, confd_hkeypath_t* keypath) {
    std::array<char, 200> text{};
    confd_pp_kpath(text.data(), text.size(), keypath);
    paths.emplace_back(text.data());
    EXPECT_EQ(keypath->len, 6);
    return ReplyInt32(transaction, 1);
  };
  agent_.Ask(batch);
  ASSERT_EQ(program_.WorkWorker(), CONFD_OK);
  ASSERT_EQ(paths.size(), 3U);
  EXPECT_EQ(paths[1], paths[0]);
  EXPECT_THAT(paths[0], HasSubstr("{7}"));
  EXPECT_THAT(paths[2], HasSubstr("{8}"));
}

TEST_F(ProviderBatch, EndsAtADelayedReply) {
  program_.does.get_elem = [this](confd_trans_ctx* transaction, confd_hkeypath_t* keypath) {
    seen_.push_back(KeyOf(*keypath));
    if (KeyOf(*keypath) != 2) {
      return ReplyInt32(transaction, 1);
    }
    parked_ = transaction;
    return static_cast<int>(CONFD_DELAYED_RESPONSE);
  };
  const auto first = agent_.Ask(BatchOf({Level(1), Level(2), Level(3), Level(4)}));
  ASSERT_EQ(program_.WorkWorker(), CONFD_OK);
  EXPECT_THAT(seen_, ElementsAre(1, 2));
  EXPECT_EQ(ResultsOf(agent_.TakeTogether()),
            Results({ProviderReply::OK, ProviderReply::DELAYED, ProviderReply::UNASKED,
                     ProviderReply::UNASKED}));
  // The delayed one is the same as if it had come alone.
  ASSERT_EQ(ReplyInt32(parked_, 20), CONFD_OK);
  const auto late = agent_.Take(agent_.Worker());
  EXPECT_EQ(late.id(), first + 1);
  EXPECT_EQ(late.value().number(), 20);
}

TEST_F(ProviderBatch, EndsAtACallbackThatFails) {
  program_.does.get_elem = [this](confd_trans_ctx* transaction, confd_hkeypath_t* keypath) {
    seen_.push_back(KeyOf(*keypath));
    confd_trans_seterr(transaction, "broken");
    return static_cast<int>(CONFD_ERR);
  };
  agent_.Ask(BatchOf({Level(1), Level(2)}));
  EXPECT_EQ(program_.WorkWorker(), CONFD_ERR);
  EXPECT_EQ(confd_errno, CONFD_ERR_EXTERNAL);
  EXPECT_STREQ(confd_lasterr(), "callpoint level: broken");
  EXPECT_THAT(seen_, ElementsAre(1));
  EXPECT_EQ(ResultsOf(agent_.TakeTogether()),
            Results({ProviderReply::ERROR, ProviderReply::UNASKED}));
}

TEST_F(ProviderBatch, GoesOnBehindWhatTheProgramDoesNotHave) {
  agent_.Ask(BatchOf(
      {GetElem(1, "nonsense", LevelOfLocal(1)), GetElem(9, "level", LevelOfLocal(2)), Level(3)}));
  EXPECT_EQ(program_.WorkWorker(), CONFD_OK);
  EXPECT_THAT(seen_, ElementsAre(3));
  const auto replies = agent_.TakeTogether();
  EXPECT_EQ(ResultsOf(replies),
            Results({ProviderReply::ERROR, ProviderReply::ERROR, ProviderReply::OK}));
  EXPECT_EQ(replies[0].error(), "the program has no callpoint nonsense");
  EXPECT_EQ(replies[1].error(), "no transaction 9 is open");
}

TEST_F(ProviderBatch, ThatTakesLongGivesTheProgramsLoopBack) {
  confd::FindDaemon(program_.Daemon())->now = [] { return fake_now; };
  program_.does.get_elem = [this](confd_trans_ctx* transaction, confd_hkeypath_t* keypath) {
    seen_.push_back(KeyOf(*keypath));
    fake_now += std::chrono::milliseconds(3);
    return ReplyInt32(transaction, 1);
  };
  agent_.Ask(BatchOf({Level(1), Level(2), Level(3)}));
  ASSERT_EQ(program_.WorkWorker(), CONFD_OK);
  EXPECT_THAT(seen_, ElementsAre(1, 2));
  EXPECT_EQ(ResultsOf(agent_.TakeTogether()),
            Results({ProviderReply::OK, ProviderReply::OK, ProviderReply::UNASKED}));
}

TEST_F(ProviderBatch, AWalkIsOneReadAndLeadsToTheEnd) {
  WalkTo(3);
  agent_.Ask(BatchOf({GetNext(1, "state", LevelOfLocal(1), -1, 100), Level(9)}));
  ASSERT_EQ(program_.WorkWorker(), CONFD_OK);
  EXPECT_THAT(seen_, ElementsAre(-1, 2, 3, 4, 9));
  const auto replies = agent_.TakeTogether();
  ASSERT_EQ(ResultsOf(replies), Results({ProviderReply::OK, ProviderReply::OK}));
  EXPECT_THAT(KeysOf(replies[0]), ElementsAre(1, 2, 3));
  EXPECT_EQ(replies[0].next(), -1);
}

TEST_F(ProviderBatch, AnEmptyWalkFindsNothing) {
  WalkTo(0);
  agent_.Ask(BatchOf({GetNext(1, "state", LevelOfLocal(1), -1, 100)}));
  ASSERT_EQ(program_.WorkWorker(), CONFD_OK);
  const auto reply = agent_.Take(agent_.Worker());
  EXPECT_EQ(reply.result(), ProviderReply::NOT_FOUND);
  EXPECT_EQ(reply.next(), -1);
  EXPECT_TRUE(reply.keys().empty());
}

TEST_F(ProviderBatch, AWalkStopsAfterItsStepsAndIsContinued) {
  WalkTo(5);
  agent_.Ask(BatchOf({GetNext(1, "state", LevelOfLocal(1), -1, 2), Level(9)}));
  ASSERT_EQ(program_.WorkWorker(), CONFD_OK);
  const auto replies = agent_.TakeTogether();
  ASSERT_EQ(ResultsOf(replies), Results({ProviderReply::OK, ProviderReply::UNASKED}));
  EXPECT_THAT(KeysOf(replies[0]), ElementsAre(1, 2));
  EXPECT_EQ(replies[0].next(), 3);
  agent_.Ask(BatchOf({GetNext(1, "state", LevelOfLocal(1), replies[0].next(), 100)}));
  ASSERT_EQ(program_.WorkWorker(), CONFD_OK);
  const auto rest = agent_.Take(agent_.Worker());
  EXPECT_THAT(KeysOf(rest), ElementsAre(3, 4, 5));
  EXPECT_EQ(rest.next(), -1);
  EXPECT_THAT(seen_, ElementsAre(-1, 2, 3, 4, 5, 6));
}

TEST_F(ProviderBatch, AStepThatIsDelayedTellsTheStepsBeforeIt) {
  WalkTo(2, CONFD_DELAYED_RESPONSE);
  agent_.Ask(BatchOf({GetNext(1, "state", LevelOfLocal(1), -1, 100), Level(9)}));
  ASSERT_EQ(program_.WorkWorker(), CONFD_OK);
  const auto replies = agent_.TakeTogether();
  ASSERT_EQ(ResultsOf(replies), Results({ProviderReply::DELAYED, ProviderReply::UNASKED}));
  EXPECT_THAT(KeysOf(replies[0]), ElementsAre(1, 2));
  confd_value_t key;
  CONFD_SET_INT32(&key, 3);
  ASSERT_EQ(confd_data_reply_next_key(parked_, &key, 1, 4), CONFD_OK);
  const auto late = agent_.Take(agent_.Worker());
  EXPECT_EQ(late.id(), replies[0].id());
  EXPECT_THAT(KeysOf(late), ElementsAre(3));
  EXPECT_EQ(late.next(), 4);
}

TEST_F(ProviderBatch, AStepThatFailsIsTheFailureOfTheWalk) {
  WalkTo(2, CONFD_ERR);
  agent_.Ask(BatchOf({GetNext(1, "state", LevelOfLocal(1), -1, 100)}));
  EXPECT_EQ(program_.WorkWorker(), CONFD_ERR);
  const auto reply = agent_.Take(agent_.Worker());
  EXPECT_EQ(reply.result(), ProviderReply::ERROR);
  EXPECT_TRUE(reply.keys().empty());
}

TEST_F(ProviderBatch, AnAnswerThatNoCompanyHoldsGoesByItself) {
  const std::string text(100'000, 'x');
  program_.does.get_elem = [&](confd_trans_ctx* transaction, confd_hkeypath_t* keypath) {
    confd_value_t value;
    CONFD_SET_STR(&value, text.c_str());
    return KeyOf(*keypath) == 2 ? confd_data_reply_value(transaction, &value)
                                : ReplyInt32(transaction, 1);
  };
  const auto first = agent_.Ask(BatchOf({Level(1), Level(2), Level(3)}));
  ASSERT_EQ(program_.WorkWorker(), CONFD_OK);
  EXPECT_EQ(agent_.TakeTogether().size(), 1U);
  const auto alone = agent_.Take(agent_.Worker());
  EXPECT_EQ(alone.id(), first + 1);
  EXPECT_EQ(alone.value().text().size(), text.size());
  EXPECT_EQ(agent_.Take(agent_.Worker()).id(), first + 2);
}

TEST_F(ProviderBatch, AFurtherOneIsNotTakenInsideACallback) {
  program_.does.get_elem = [this](confd_trans_ctx* transaction, confd_hkeypath_t* keypath) {
    if (KeyOf(*keypath) == 1) {
      agent_.Ask(BatchOf({Level(2)}));
      EXPECT_EQ(program_.WorkWorker(), CONFD_ERR);
      EXPECT_EQ(confd_errno, CONFD_ERR_BADSTATE);
    }
    return ReplyInt32(transaction, 1);
  };
  agent_.Ask(BatchOf({Level(1)}));
  EXPECT_EQ(program_.WorkWorker(), CONFD_OK);
  EXPECT_EQ(agent_.Take(agent_.Worker()).result(), ProviderReply::OK);
  EXPECT_EQ(program_.WorkWorker(), CONFD_OK);
  EXPECT_EQ(agent_.Take(agent_.Worker()).result(), ProviderReply::OK);
}

TEST_F(ProviderBatch, OfAReleasedDaemonCallsNothingMore) {
  program_.does.get_elem = [this](confd_trans_ctx*, confd_hkeypath_t* keypath) {
    seen_.push_back(KeyOf(*keypath));
    program_.Release();
    return static_cast<int>(CONFD_OK);
  };
  agent_.Ask(BatchOf({Level(1), GetNext(1, "state", LevelOfLocal(2), -1, 9)}));
  program_.WorkWorker();
  EXPECT_THAT(seen_, ElementsAre(1));
}

}  // namespace
