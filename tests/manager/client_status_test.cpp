// What the client makes of status, removals and statistics, and in which order
// its user hears of them.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "client_fixture.h"
#include "status_codec.h"

namespace {

using cfm::manager::FromClient;
using cfm::manager::FromManager;
using testing::ElementsAre;
using testing::IsEmpty;
using velmw::AgentState;

FromManager LocalStatus(std::uint16_t mep, bool rdi = false) {
  FromManager message;
  cfm::st_lmep_status status{};
  status.tx_rdi = rdi;
  cfm::Encode(cfm::Named<cfm::st_lmep_status>{{"east", "blue", mep, 0}, status},
              *message.mutable_local_status());
  return message;
}

FromManager RemoteStatus(std::uint16_t mep, std::uint16_t remote, cfm::en_rmep_state state) {
  FromManager message;
  cfm::st_rmep_status status{};
  status.state = state;
  cfm::Encode(cfm::Named<cfm::st_rmep_status>{{"east", "blue", mep, remote}, status},
              *message.mutable_remote_status());
  return message;
}

FromManager Removed(std::uint16_t mep, std::uint16_t remote = 0) {
  FromManager message;
  cfm::EncodeName({"east", "blue", mep, remote}, *message.mutable_removed());
  return message;
}

FromManager LocalStatistics(std::uint16_t mep, std::uint64_t sent) {
  FromManager message;
  cfm::Encode(cfm::Named<cfm::st_lmep_stats>{{"east", "blue", mep, 0}, {sent, 0, 0, 0}},
              *message.mutable_local_statistics());
  return message;
}

FromManager RemoteStatistics(std::uint16_t mep, std::uint16_t remote, std::uint32_t received) {
  FromManager message;
  cfm::Encode(cfm::Named<cfm::st_rmep_stats>{{"east", "blue", mep, remote}, {received}},
              *message.mutable_remote_statistics());
  return message;
}

FromManager Finished(std::uint64_t number) {
  FromManager message;
  message.mutable_statistics_finished()->set_number(number);
  return message;
}

FromManager ResendStarts(std::uint64_t number) {
  FromManager message;
  message.mutable_resend_starts()->set_number(number);
  return message;
}

// Client and manager are connected, the first configuration is given, and the
// agent was there from the start.
class ClientStatus : public test::ClientFixture {
 protected:
  void SetUp() override {
    ClientFixture::SetUp();
    StartClient();
    Announce(AgentState::kUp);
    StartManager();
    Apply("east");
    ASSERT_TRUE(Await([&] { return manager_->Configurations().size() == 1; }));
    Settle();
    receiver_.calls.clear();
  }

  void Say(const std::vector<FromManager>& messages) {
    for (const FromManager& message : messages) {
      manager_->Send(message);
    }
    Settle();
  }
  std::vector<std::string> Heard() { return std::exchange(receiver_.calls, {}); }
  // Requests by kind and number.
  std::vector<std::string> Asked() const {
    std::vector<std::string> asked;
    for (const FromClient& request : manager_->Requests()) {
      if (request.has_request_statistics()) {
        asked.push_back(fmt::format("statistics {}", request.request_statistics().number()));
      } else if (request.has_resend_status()) {
        asked.push_back(fmt::format("resend {}", request.resend_status().number()));
      } else {
        const auto& clear = request.clear_statistics();
        asked.push_back(fmt::format("clear {} {} {}", clear.has_md() ? clear.md() : "any",
                                    clear.has_ma() ? clear.ma() : "any", clear.mep()));
      }
    }
    return asked;
  }
};

TEST_F(ClientStatus, PassesOnWhatTheManagerSaysInItsOrder) {
  Say({LocalStatus(1, true), RemoteStatus(1, 7, cfm::RMEP_OK), LocalStatistics(1, 3),
       RemoteStatistics(1, 7, 4), Removed(1, 7), Removed(1)});
  EXPECT_THAT(Heard(),
              ElementsAre("local status east blue 1 true", "remote status east blue 1 7 3",
                          "local statistics east blue 1 3", "remote statistics east blue 1 7 4",
                          "remote removed east blue 1 7", "local removed east blue 1"));
}

TEST_F(ClientStatus, AnEndOfStatisticsCompletesOneRequest) {
  client_->RequestStatistics();
  client_->RequestStatistics();
  Settle();
  EXPECT_THAT(Asked(), ElementsAre("statistics 1", "statistics 2"));
  EXPECT_THAT(Heard(), IsEmpty());
  Say({LocalStatistics(1, 3), Finished(1)});
  EXPECT_THAT(Heard(), ElementsAre("local statistics east blue 1 3", "finished"));
  Say({LocalStatistics(1, 4), Finished(2)});
  EXPECT_THAT(Heard(), ElementsAre("local statistics east blue 1 4", "finished"));
}

TEST_F(ClientStatus, SendsWhatIsToBeCleared) {
  EXPECT_EQ(client_->ClearStatistics(nullptr, nullptr, 0), 0);
  EXPECT_EQ(client_->ClearStatistics("east", nullptr, 0), 0);
  EXPECT_EQ(client_->ClearStatistics("east", "", 5), 0);
  Settle();
  EXPECT_THAT(Asked(), ElementsAre("clear any any 0", "clear east any 0", "clear east  5"));
}

TEST_F(ClientStatus, ARemovalWaitsForTheRequestsBeforeIt) {
  client_->RequestStatistics();
  Say({Removed(1), LocalStatus(2)});
  EXPECT_THAT(Heard(), IsEmpty());
  Say({LocalStatistics(1, 3), Finished(1)});
  EXPECT_THAT(Heard(), ElementsAre("local statistics east blue 1 3", "finished",
                                   "local removed east blue 1", "local status east blue 2 false"));
}

TEST_F(ClientStatus, StatusDoesNotWaitForRequests) {
  client_->RequestStatistics();
  Say({LocalStatus(1)});
  EXPECT_THAT(Heard(), ElementsAre("local status east blue 1 false"));
}

TEST_F(ClientStatus, RequestsMadeWhileARemovalWaitsAreCompletedBeforeItToo) {
  client_->RequestStatistics();
  Say({Removed(1)});
  client_->RequestStatistics();
  client_->RequestStatistics();
  Say({LocalStatistics(1, 3), Finished(1)});
  EXPECT_THAT(Heard(), ElementsAre("local statistics east blue 1 3", "finished", "finished",
                                   "finished", "local removed east blue 1"));
  Say({LocalStatistics(2, 5), Finished(2), LocalStatistics(2, 6), Finished(3)});
  EXPECT_THAT(Heard(),
              ElementsAre("local statistics east blue 2 5", "local statistics east blue 2 6"));
  client_->RequestStatistics();
  Say({Finished(4)});
  EXPECT_THAT(Heard(), ElementsAre("finished"));
}

TEST_F(ClientStatus, ALossFirstCompletesTheRequests) {
  client_->RequestStatistics();
  client_->RequestStatistics();
  Say({Removed(1)});
  manager_->CloseConnection();
  ASSERT_TRUE(Await([&] { return manager_->Configurations().size() == 2; }));
  EXPECT_THAT(Heard(), ElementsAre("finished", "finished", "invalidated"));
}

// Whoever waits for an answer finds counters whatever was cleared meanwhile.
TEST_F(ClientStatus, ALossTellsZerosOfWhatWasClearedWhileRequestsWereOpen) {
  Say({LocalStatus(1), LocalStatus(2), RemoteStatus(2, 7, cfm::RMEP_OK)});
  client_->RequestStatistics();
  client_->RequestStatistics();
  client_->ClearStatistics(nullptr, "blue", 1);
  client_->ClearStatistics("east", nullptr, 7);
  client_->ClearStatistics("west", nullptr, 0);
  receiver_.calls.clear();
  manager_->CloseConnection();
  ASSERT_TRUE(Await([&] { return manager_->Configurations().size() == 2; }));
  EXPECT_THAT(Heard(),
              ElementsAre("local statistics east blue 1 0", "remote statistics east blue 2 7 0",
                          "finished", "finished", "invalidated"));
}

TEST_F(ClientStatus, WhatIsClearedInTheMidstOfAnAnswerIsToldAgainBeforeItsEnd) {
  Say({LocalStatus(1), LocalStatus(2)});
  client_->RequestStatistics();
  Say({LocalStatistics(1, 3)});
  receiver_.calls.clear();
  client_->ClearStatistics(nullptr, nullptr, 0);
  Say({LocalStatistics(2, 4), Finished(1)});
  EXPECT_THAT(Heard(), ElementsAre("local statistics east blue 2 4",
                                   "local statistics east blue 1 0", "finished"));
}

TEST_F(ClientStatus, OnlyWhatIsClearedIsToldAgain) {
  Say({LocalStatus(1), RemoteStatus(1, 7, cfm::RMEP_OK), LocalStatus(2),
       RemoteStatus(2, 7, cfm::RMEP_OK)});
  receiver_.calls.clear();
  client_->RequestStatistics();
  client_->ClearStatistics("west", nullptr, 0);
  client_->ClearStatistics("east", "green", 0);
  client_->ClearStatistics("east", "blue", 2);
  Say({Finished(1)});
  EXPECT_THAT(Heard(), ElementsAre("local statistics east blue 2 0", "finished"));
  client_->RequestStatistics();
  client_->ClearStatistics(nullptr, nullptr, 7);
  Say({Finished(2)});
  EXPECT_THAT(Heard(), ElementsAre("remote statistics east blue 1 7 0",
                                   "remote statistics east blue 2 7 0", "finished"));
}

// It is in no answer any more, and still somebody may read it.
TEST_F(ClientStatus, WhatIsClearedWhileItsRemovalWaitsIsTold) {
  Say({LocalStatus(1), LocalStatus(2), Removed(2)});
  receiver_.calls.clear();
  client_->RequestStatistics();
  client_->ClearStatistics(nullptr, nullptr, 0);
  Say({Removed(1), Finished(1)});
  EXPECT_THAT(Heard(), ElementsAre("local statistics east blue 1 0", "finished",
                                   "local removed east blue 1"));
}

TEST_F(ClientStatus, WhatIsClearedWhileNoRequestIsOpenNeedsNoZeros) {
  Say({LocalStatus(1), LocalStatus(2)});
  client_->ClearStatistics(nullptr, nullptr, 0);
  client_->RequestStatistics();
  Say({Removed(2)});
  client_->ClearStatistics(nullptr, nullptr, 1);
  Say({LocalStatistics(1, 3)});
  receiver_.calls.clear();
  Say({Finished(1)});
  EXPECT_THAT(Heard(), ElementsAre("finished", "local removed east blue 2"));
}

TEST_F(ClientStatus, ARequestWithoutAManagerIsCompletedFromTheLoop) {
  manager_.reset();
  ASSERT_TRUE(Await([&] { return !receiver_.calls.empty(); }));
  receiver_.calls.clear();
  client_->RequestStatistics();
  client_->RequestStatistics();
  EXPECT_THAT(Heard(), IsEmpty());
  Settle();
  EXPECT_THAT(Heard(), ElementsAre("finished", "finished"));
}

TEST_F(ClientStatus, ARequestMadeWhileAnotherIsCompletedWaitsForItsOwnTurn) {
  manager_.reset();
  ASSERT_TRUE(Await([&] { return !receiver_.calls.empty(); }));
  receiver_.calls.clear();
  receiver_.on_call = [this] {
    if (receiver_.calls.size() == 1) {
      client_->RequestStatistics();
      EXPECT_THAT(receiver_.calls, testing::SizeIs(1));
    }
  };
  client_->RequestStatistics();
  Settle();
  EXPECT_THAT(Heard(), ElementsAre("finished", "finished"));
}

TEST_F(ClientStatus, ARequestMadeBeforeAManagerCameIsCompletedOnce) {
  manager_.reset();
  ASSERT_TRUE(Await([&] { return !receiver_.calls.empty(); }));
  receiver_.calls.clear();
  StartManager();
  ASSERT_TRUE(Await([&] {
    client_->RequestStatistics();
    return manager_->Requests().size() == 1;
  }));
  const std::uint64_t number = manager_->Requests()[0].request_statistics().number();
  Settle();
  EXPECT_EQ(receiver_.calls, std::vector<std::string>(number - 1, "finished"));
}

TEST_F(ClientStatus, DropsStatusWhileTheAgentIsAway) {
  Announce(AgentState::kDown);
  Say({LocalStatus(1), Removed(1), RemoteStatus(1, 7, cfm::RMEP_OK)});
  EXPECT_THAT(Heard(), IsEmpty());
}

// A read that waits for statistics must find its record, and an invalidation that was
// put off is carried out before the agent is announced again.
TEST_F(ClientStatus, CompletesRequestsAtOnceWhenTheAgentGoesAway) {
  client_->RequestStatistics();
  client_->RequestStatistics();
  Announce(AgentState::kDown);
  EXPECT_THAT(Heard(), ElementsAre("finished", "finished"));
  Announce(AgentState::kUp);
  EXPECT_THAT(Heard(), ElementsAre("invalidated"));
  Say({LocalStatistics(1, 3), Finished(1), Finished(2)});
  EXPECT_THAT(Heard(), ElementsAre("local statistics east blue 1 3"));
}

TEST_F(ClientStatus, TellsZerosOfWhatWasClearedWhenTheAgentGoesAway) {
  Say({LocalStatus(1)});
  client_->RequestStatistics();
  client_->ClearStatistics(nullptr, nullptr, 0);
  receiver_.calls.clear();
  Announce(AgentState::kDown);
  EXPECT_THAT(Heard(), ElementsAre("local statistics east blue 1 0", "finished"));
}

TEST_F(ClientStatus, CompletesRequestsThatAreMadeWhileTheAgentIsAway) {
  Announce(AgentState::kDown);
  client_->RequestStatistics();
  EXPECT_THAT(Heard(), IsEmpty());
  Say({LocalStatistics(1, 3), Finished(1)});
  EXPECT_THAT(Heard(), ElementsAre("local statistics east blue 1 3", "finished"));
}

TEST_F(ClientStatus, HasEverythingSentAgainWhenTheAgentIsBack) {
  Announce(AgentState::kDown);
  Announce(AgentState::kUp);
  EXPECT_THAT(Heard(), ElementsAre("invalidated"));
  Settle();
  EXPECT_THAT(Asked(), ElementsAre("resend 2"));
  Say({LocalStatus(1), Removed(2), ResendStarts(2), LocalStatus(3)});
  EXPECT_THAT(Heard(), ElementsAre("local status east blue 3 false"));
}

TEST_F(ClientStatus, WaitsForTheLastOfSeveralResends) {
  for (int times = 0; times < 2; ++times) {
    Announce(AgentState::kDown);
    Announce(AgentState::kUp);
  }
  EXPECT_THAT(Heard(), ElementsAre("invalidated", "invalidated"));
  Say({LocalStatus(1), ResendStarts(2), LocalStatus(2), ResendStarts(3), LocalStatus(3)});
  EXPECT_THAT(Heard(), ElementsAre("local status east blue 3 false"));
}

TEST_F(ClientStatus, CompletesRequestsBeforeItInvalidatesForTheAgent) {
  Announce(AgentState::kDown);
  client_->RequestStatistics();
  EXPECT_THAT(Heard(), IsEmpty());
  Announce(AgentState::kUp);
  EXPECT_THAT(Heard(), ElementsAre("finished", "invalidated"));
  Say({Finished(1)});
  EXPECT_THAT(Heard(), IsEmpty());
}

TEST_F(ClientStatus, ForgetsAWaitingRemovalWhenTheAgentGoesAway) {
  client_->RequestStatistics();
  Say({Removed(1)});
  Announce(AgentState::kDown);
  Say({Finished(1)});
  EXPECT_THAT(Heard(), ElementsAre("finished"));
}

TEST_F(ClientStatus, ANewManagersStatusNeedsNoResend) {
  Announce(AgentState::kDown);
  Announce(AgentState::kUp);
  manager_->CloseConnection();
  ASSERT_TRUE(Await([&] { return manager_->Configurations().size() == 2; }));
  Heard();
  Say({LocalStatus(1)});
  EXPECT_THAT(Heard(), ElementsAre("local status east blue 1 false"));
}

TEST_F(ClientStatus, ANewManagersStatusIsDroppedToo) {
  Announce(AgentState::kDown);
  manager_->CloseConnection();
  ASSERT_TRUE(Await([&] { return manager_->Configurations().size() == 2; }));
  Say({LocalStatus(1)});
  EXPECT_THAT(Heard(), ElementsAre("invalidated"));
}

TEST_F(ClientStatus, GivesUpAManagerThatSpeaksButDoesNotAnswer) {
  client_->RequestStatistics();
  const FromManager removal = Removed(1);
  for (int i = 0; i <= 100'000; ++i) {
    manager_->Send(removal);
  }
  ASSERT_TRUE(Await([&] { return manager_->Configurations().size() == 2; }));
  EXPECT_THAT(Heard(), ElementsAre("finished", "invalidated"));
}

TEST_F(ClientStatus, DropsAManagerThatSaysWhatCannotBe) {
  FromManager short_mac = LocalStatus(1);
  short_mac.mutable_local_status()->set_mac("12345");
  FromManager bad_state = RemoteStatus(1, 7, cfm::RMEP_OK);
  bad_state.mutable_remote_status()->set_state(4);
  std::size_t connections = 1;
  for (const FromManager& message :
       {short_mac, bad_state, Finished(1), ResendStarts(9), Removed(0)}) {
    manager_->Send(message);
    ++connections;
    ASSERT_TRUE(Await([&] { return manager_->Configurations().size() == connections; }));
    EXPECT_THAT(Heard(), ElementsAre("invalidated"));
  }
}

using ClientBeforeTheAgent = test::ClientFixture;

TEST_F(ClientBeforeTheAgent, DropsStatusUntilTheAgentIsThere) {
  ConnectBoth();
  manager_->Send(LocalStatus(1));
  Settle();
  EXPECT_THAT(receiver_.calls, IsEmpty());
  Announce(AgentState::kUp);
  manager_->Send(ResendStarts(1));
  manager_->Send(LocalStatus(2));
  Settle();
  EXPECT_THAT(receiver_.calls, ElementsAre("invalidated", "local status east blue 2 false"));
}

}  // namespace
