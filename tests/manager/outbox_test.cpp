#include "outbox.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace {

using cfm::RecordName;
using cfm::manager::FromManager;
using testing::ElementsAre;
using testing::IsEmpty;

class OutboxTest : public testing::Test {
 protected:
  static RecordName Local(std::uint16_t mep) { return {"east", "blue", mep, 0}; }
  static RecordName Remote(std::uint16_t mep, std::uint16_t remote) {
    return {"east", "blue", mep, remote};
  }

  void Status(const RecordName& name, int version) {
    FromManager message;
    cfm::EncodeName(name, *message.mutable_local_status()->mutable_name());
    message.mutable_local_status()->set_block_state(version);
    outbox_.PutStatus(name, message);
  }
  void Finished(std::uint64_t number) {
    FromManager message;
    message.mutable_statistics_finished()->set_number(number);
    outbox_.Put(message);
  }
  std::vector<std::string> Sent() { return std::exchange(sent_, {}); }
  std::vector<std::string> SentWhenRead() {
    room_ = 1000;
    outbox_.Flush();
    return Sent();
  }

  int room_ = 0;  // messages that the line takes
  std::vector<std::string> sent_;
  cfm::Outbox outbox_{{.send = [this](const FromManager& message) { Send(message); },
                       .is_full = [this] { return room_ <= 0; }}};

 private:
  static std::string Text(const cfm::manager::MepName& name) {
    return fmt::format("{}/{}", name.mep(), name.remote_mep());
  }
  void Send(const FromManager& message) {
    --room_;
    if (message.has_local_status()) {
      sent_.push_back(fmt::format("{} v{}", Text(message.local_status().name()),
                                  message.local_status().block_state()));
    } else if (message.has_removed()) {
      sent_.push_back(Text(message.removed()) + " removed");
    } else {
      sent_.push_back(fmt::format("finished {}", message.statistics_finished().number()));
    }
  }
};

TEST_F(OutboxTest, SendsAtOnceWhatTheLineTakes) {
  room_ = 9;
  Status(Local(1), 1);
  Status(Local(1), 2);
  Finished(1);
  outbox_.PutRemoval(Local(1));
  EXPECT_THAT(Sent(), ElementsAre("1/0 v1", "1/0 v2", "finished 1", "1/0 removed"));
  EXPECT_TRUE(outbox_.IsEmpty());
}

TEST_F(OutboxTest, OfARecordOnlyTheLatestStatusWaitsAtTheOldPlace) {
  Status(Local(1), 1);
  Status(Local(2), 1);
  Status(Local(1), 2);
  Status(Local(1), 3);
  EXPECT_THAT(Sent(), IsEmpty());
  EXPECT_THAT(SentWhenRead(), ElementsAre("1/0 v3", "2/0 v1"));
}

TEST_F(OutboxTest, GoesOnWhereTheLineWasFull) {
  for (std::uint16_t mep = 1; mep <= 4; ++mep) {
    Status(Local(mep), 1);
  }
  room_ = 2;
  outbox_.Flush();
  EXPECT_THAT(Sent(), ElementsAre("1/0 v1", "2/0 v1"));
  Status(Local(1), 2);
  Status(Local(3), 2);
  EXPECT_FALSE(outbox_.IsEmpty());
  EXPECT_THAT(SentWhenRead(), ElementsAre("3/0 v2", "4/0 v1", "1/0 v2"));
}

TEST_F(OutboxTest, NothingOvertakesWhatWaits) {
  Status(Local(1), 1);
  room_ = 9;
  Finished(1);
  EXPECT_THAT(Sent(), IsEmpty());
  EXPECT_THAT(SentWhenRead(), ElementsAre("1/0 v1", "finished 1"));
}

TEST_F(OutboxTest, ARemovalStaysBehindTheStatisticsAnswerBeforeIt) {
  room_ = 1;
  Status(Local(1), 1);
  Status(Local(1), 2);
  Finished(1);
  outbox_.PutRemoval(Local(1));
  EXPECT_THAT(SentWhenRead(), ElementsAre("1/0 v1", "finished 1", "1/0 removed"));
}

TEST_F(OutboxTest, ARecordThatWasNeverShownIsNotRemoved) {
  Status(Local(1), 1);
  outbox_.PutRemoval(Local(1));
  outbox_.PutRemoval(Local(2));
  EXPECT_TRUE(outbox_.IsEmpty());
  Status(Local(1), 2);
  EXPECT_THAT(SentWhenRead(), ElementsAre("1/0 v2"));
}

TEST_F(OutboxTest, WhatIsShownAfterARemovalStaysAfterIt) {
  room_ = 1;
  Status(Remote(2, 7), 1);
  Status(Remote(1, 7), 1);
  outbox_.PutRemoval(Remote(2, 7));
  Status(Remote(1, 7), 2);
  EXPECT_THAT(SentWhenRead(), ElementsAre("2/7 v1", "2/7 removed", "1/7 v2"));
}

TEST_F(OutboxTest, ARecordThatComesBackIsShownAfterItsRemovalAndRemovedAgain) {
  room_ = 1;
  Status(Local(1), 1);
  outbox_.PutRemoval(Local(1));
  Status(Local(1), 2);
  EXPECT_THAT(SentWhenRead(), ElementsAre("1/0 v1", "1/0 removed", "1/0 v2"));
  outbox_.PutRemoval(Local(1));
  EXPECT_THAT(Sent(), ElementsAre("1/0 removed"));
}

TEST_F(OutboxTest, RemovesNothingThatWasShownBeforeItForgot) {
  room_ = 9;
  Status(Local(1), 1);
  outbox_.ForgetShown();
  outbox_.PutRemoval(Local(1));
  EXPECT_THAT(Sent(), ElementsAre("1/0 v1"));
}

TEST_F(OutboxTest, IsBoundedByWhatThereIsToKnow) {
  room_ = 2;
  Status(Local(1), 0);
  Status(Local(2), 0);
  for (int round = 1; round <= 1000; ++round) {
    for (const std::uint16_t mep : {1, 2}) {
      Status(Local(mep), round);
      outbox_.PutRemoval(Local(mep));
      Status(Local(mep), round);
    }
  }
  Sent();
  EXPECT_THAT(SentWhenRead(), ElementsAre("1/0 removed", "2/0 removed", "1/0 v1000", "2/0 v1000"));
}

}  // namespace
