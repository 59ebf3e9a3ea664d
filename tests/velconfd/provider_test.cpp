// Requests of the agent on their way to the handlers.
#include <cstring>
#include <stdexcept>

#include "framework_test.h"

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

namespace test {
namespace {

class ProviderTest : public FrameworkTest {
 protected:
  // Asks and waits for the result of the program's callback.
  int Ask(confd_sock_type type, const FakeAgent::ProviderRequest& request) {
    std::optional<int> result;
    agent_.Ask(type, [&](FakeDaemon& daemon) {
      result = request(daemon);
      confd_errno = *result == CONFD_ERR ? CONFD_ERR_EXTERNAL : 0;
      return *result == CONFD_ERR ? CONFD_ERR : CONFD_OK;
    });
    EXPECT_TRUE(middleware_.RunUntil([&] { return result.has_value(); }));
    middleware_.RunDue();
    return result.value_or(-99);
  }

  int Begin() {
    return Ask(CONTROL_SOCKET, [this](FakeDaemon& daemon) {
      transaction_.dx = &daemon;
      return daemon.transactions.init(&transaction_);
    });
  }
  int Finish() {
    return Ask(CONTROL_SOCKET,
               [this](FakeDaemon& daemon) { return daemon.transactions.finish(&transaction_); });
  }
  int Get(const std::string& name) {
    return Ask(WORKER_SOCKET, [&](FakeDaemon& daemon) {
      const confd_data_cbs& callpoint = daemon.callpoints.at(name);
      transaction_.dx = &daemon;
      transaction_.cb_opaque = callpoint.cb_opaque;
      return callpoint.get_elem(&transaction_, &keypath_);
    });
  }
  int Next(const std::string& name, long next) {
    return Ask(WORKER_SOCKET, [&](FakeDaemon& daemon) {
      const confd_data_cbs& callpoint = daemon.callpoints.at(name);
      transaction_.dx = &daemon;
      transaction_.cb_opaque = callpoint.cb_opaque;
      return callpoint.get_next(&transaction_, &keypath_, next);
    });
  }
  int Act() {
    return Ask(WORKER_SOCKET, [&](FakeDaemon& daemon) {
      const confd_action_cbs& point = daemon.action_points.at("act");
      confd_user_info user{};
      std::strcpy(user.username, "admin");
      user.dx = &daemon;
      user.cb_opaque = point.cb_opaque;
      user.actionfd = -1;
      EXPECT_EQ(point.init(&user), CONFD_OK);
      EXPECT_GE(user.actionfd, 0);
      xml_tag name{5, 1};
      confd_tag_value_t parameters[2]{};
      return point.action(&user, &name, &keypath_, parameters, 2);
    });
  }

  confd_trans_ctx transaction_{-1, 9, nullptr, nullptr, nullptr};
  confd_hkeypath_t keypath_{};
};

TEST_F(ProviderTest, AReadReachesTheCallpointOfItsNameInsideItsTransaction) {
  Start();
  keypath_.len = 6;
  EXPECT_EQ(Begin(), CONFD_OK);
  EXPECT_GE(transaction_.fd, 0);
  EXPECT_EQ(Get("level"), CONFD_OK);
  EXPECT_EQ(Get("statistics"), CONFD_OK);
  EXPECT_EQ(Next("level", -1), CONFD_OK);
  EXPECT_EQ(Finish(), CONFD_OK);
  EXPECT_THAT(journal_, ElementsAre("status begins 9", "level get 9 6", "statistics get 9 6",
                                    "level next 9 -1", "status ends 9"));
}

TEST_F(ProviderTest, AnActionReachesItsHandler) {
  Start();
  EXPECT_EQ(Act(), CONFD_OK);
  EXPECT_THAT(journal_, ElementsAre("action 5 for admin with 2"));
}

TEST_F(ProviderTest, AHandlersResultIsTheLibrarys) {
  Start();
  level_.result = CONFD_DELAYED_RESPONSE;
  EXPECT_EQ(Get("level"), CONFD_DELAYED_RESPONSE);
  action_.result = CONFD_ERR;
  EXPECT_EQ(Act(), CONFD_ERR);
  status_.finish_result = CONFD_ERR;
  EXPECT_EQ(Finish(), CONFD_ERR);
}

TEST_F(ProviderTest, AFailureOfAHandlerIsLoggedAndServiceGoesOn) {
  Start();
  level_.result = CONFD_ERR;
  EXPECT_EQ(Get("level"), CONFD_ERR);
  EXPECT_EQ(LogRecords().back().level, 11);
  EXPECT_EQ(LogRecords().back().text, "A request of the agent failed: as scripted");
  EXPECT_EQ(Get("statistics"), CONFD_OK);
  EXPECT_THAT(journal_, Not(Contains("agent down")));
}

TEST_F(ProviderTest, AHandlerThatThrowsEndsTheLoop) {
  Start();
  reactions_["level get 9 0"] = [] { throw std::runtime_error("torn"); };
  EXPECT_EQ(Get("level"), CONFD_ERR);
  EXPECT_THAT(middleware_.end_reason, HasSubstr("torn"));
  EXPECT_EQ(agent_.OpenProviderSockets(), 0U);
}

TEST_F(ProviderTest, EveryDataHandlerTakesPartInATransaction) {
  NotingStatus other("other", notes_);
  data_handlers_.push_back(&other);
  Start();
  EXPECT_EQ(Begin(), CONFD_OK);
  status_.finish_result = CONFD_ERR;
  EXPECT_EQ(Finish(), CONFD_ERR);
  EXPECT_THAT(journal_,
              ElementsAre("status begins 9", "other begins 9", "status ends 9", "other ends 9"));
  app_.reset();
}

TEST_F(ProviderTest, ATransactionThatOneHandlerRefusesIsEndedForThoseThatBeganIt) {
  NotingStatus other("other", notes_);
  other.init_result = CONFD_ERR;
  data_handlers_.push_back(&other);
  Start();
  EXPECT_EQ(Begin(), CONFD_ERR);
  EXPECT_THAT(journal_, ElementsAre("status begins 9", "other begins 9", "status ends 9"));
  app_.reset();
}

TEST_F(ProviderTest, TwoCallpointsOfOneNameAreAnError) {
  NotingCallpoint again("level", notes_);
  NotingStatus other("other", notes_);
  other.AddCallpoint(again);
  data_handlers_.push_back(&other);
  agent_.Appear();
  Build();
  ASSERT_TRUE(Await("end of loop"));
  EXPECT_THAT(middleware_.end_reason, HasSubstr("callpoint level belongs to two handlers"));
  EXPECT_EQ(agent_.OpenDaemons(), 0U);
  EXPECT_EQ(agent_.OpenConnections(), 0U);
  app_.reset();
}

TEST_F(ProviderTest, TwoActionPointsOfOneNameAreAnError) {
  NotingAction other("other", notes_);
  action_handlers_.push_back(&other);
  agent_.Appear();
  Build();
  ASSERT_TRUE(Await("end of loop"));
  EXPECT_THAT(middleware_.end_reason, HasSubstr("action point act belongs to two handlers"));
  app_.reset();
}

TEST_F(ProviderTest, ANameThatNoPointCanHaveIsAnError) {
  NotingCallpoint endless(std::string(300, 'x'), notes_);
  status_.AddCallpoint(endless);
  agent_.Appear();
  Build();
  ASSERT_TRUE(Await("end of loop"));
  EXPECT_THAT(middleware_.end_reason, HasSubstr("no usable name for its callpoint"));
}

TEST_F(ProviderTest, NothingIsAskedAfterTheDestructor) {
  Start();
  app_.reset();
  EXPECT_EQ(agent_.OpenProviderSockets(), 0U);
  EXPECT_EQ(agent_.OpenDaemons(), 0U);
  EXPECT_THAT(journal_, IsEmpty());
}

}  // namespace
}  // namespace test
