#include "status/status.h"

#include <memory>
#include <string>
#include <vector>

#include "daemon/death.h"
#include "daemon/fake_client.h"
#include "daemon/fake_velconfd.h"
#include "daemon/platform_test.h"
#include "daemon/values.h"
#include "status/actions.h"

namespace test {
namespace {

namespace tag = cfm::tag;
using testing::ElementsAre;
using testing::ExitedWithCode;
using testing::IsEmpty;

class Status : public PlatformTest {
 protected:
  cfm::StatusReceiver receiver_;
  cfm::Client client_{fake::Middleware(), &receiver_};
};

TEST_F(Status, ItsConstructionIsLogged) {
  const cfm::Status status(fake::Category(), &receiver_, &client_);
  EXPECT_THAT(fake::LogTexts(), ElementsAre("10 status.cpp Status: Status handling initialized"));
}

TEST_F(Status, TheFrameworksOptionsAreAllOff) {
  const cfm::Status status(fake::Category(), &receiver_, &client_);
  EXPECT_THAT(fake::StatusHandlerOptions(), ElementsAre(false, false, false));
}

TEST_F(Status, ItHandsOutNoCallpointsYet) {
  const cfm::Status status(fake::Category(), &receiver_, &client_);
  EXPECT_THAT(status.GetCallpoints(), IsEmpty());
}

TEST_F(Status, TheStatisticsCallpointHasItsName) {
  cfm::Status status(fake::Category(), &receiver_, &client_);
  ASSERT_NE(status.GetStatisticsCallpoint(), nullptr);
  EXPECT_STREQ(status.GetStatisticsCallpoint()->GetCallpoint(), "statistics");
}

TEST_F(Status, ItsDestructionUnregistersBeforeAnythingElseGoes) {
  auto status = std::make_unique<cfm::Status>(fake::Category(), &receiver_, &client_);
  std::shared_ptr<void> watch(nullptr, [](void*) { fake::Event("unregistered"); });
  receiver_.Register({}, {}, {}, {}, {}, {}, [held = std::move(watch)] {}, {});
  fake::Events().clear();
  status.reset();
  EXPECT_THAT(fake::Events(), ElementsAre("unregistered", "~Callpoint", "~StatusHandler"));
}

class Actions : public PlatformTest {
 protected:
  static confd_tag_value_t Parameter(tag::Tag tag, confd_value_t value) {
    return {{tag, tag::kNamespace}, value};
  }

  // The messages after the constructor's, without level and place.
  std::vector<std::string> Perform(std::vector<confd_tag_value_t> parameters, int expected) {
    cfm::Actions actions(fake::Category(), &client_, &callpoint_);
    fake::Logs().clear();
    EXPECT_EQ(actions.ActionCb(nullptr, nullptr, nullptr, parameters.data(),
                               static_cast<int>(parameters.size())),
              expected);
    std::vector<std::string> texts;
    for (const fake::LogRecord& record : fake::Logs()) {
      EXPECT_EQ(record.file, "status.cpp");
      EXPECT_EQ(record.function, "ActionCb");
      texts.push_back(std::to_string(record.level) + " " + record.text);
    }
    return texts;
  }

  cfm::Client client_{fake::Middleware(), nullptr};
  cfm::StatisticsCallpoint callpoint_;
};

using ActionsDeath = Actions;

const char* const kReceived = "10 Action clear statistics request received";
const char* const kCleared = "10 Statistics successfully cleared!";

TEST_F(Actions, ItsConstructionIsLogged) {
  const cfm::Actions actions(fake::Category(), &client_, &callpoint_);
  EXPECT_THAT(fake::LogTexts(), ElementsAre("10 status.cpp Actions: Actions handler initialized"));
}

TEST_F(Actions, TheActionPointHasItsName) {
  const cfm::Actions actions(fake::Category(), &client_, &callpoint_);
  EXPECT_STREQ(actions.GetActionPoint(), "clear_cfm_statistics");
}

TEST_F(ActionsDeath, WithoutAClientOrACallpointItsConstructionIsFatal) {
  EXPECT_EXIT(cfm::Actions(fake::Category(), nullptr, &callpoint_), ExitedWithCode(1),
              FatalFault("Actions", "", "status.cpp"));
  EXPECT_EXIT(cfm::Actions(fake::Category(), &client_, nullptr), ExitedWithCode(1),
              FatalFault("Actions", "", "status.cpp"));
}

TEST_F(Actions, WithoutParametersEverythingIsCleared) {
  EXPECT_THAT(Perform({}, CONFD_OK),
              ElementsAre(kReceived,
                          "10 MEP to have the statistics cleared: MD: <any>, MA: <any>, MEP: <any>",
                          kCleared));
  EXPECT_THAT(fake::ClearRequests(),
              ElementsAre(fake::ClearRequest{std::nullopt, std::nullopt, 0}));
}

TEST_F(Actions, ParametersNarrowDownWhatIsCleared) {
  EXPECT_THAT(Perform({Parameter(tag::kMd, Buf("A")), Parameter(tag::kMa, Buf("x")),
                       Parameter(tag::kMep, Int32(5))},
                      CONFD_OK),
              ElementsAre(kReceived, "10 Parameter MD=A received", "10 Parameter MA=A received",
                          "10 Parameter MEP=5 received",
                          "10 MEP to have the statistics cleared: MD: A, MA: x, MEP: 5", kCleared));
  EXPECT_THAT(fake::ClearRequests(), ElementsAre(fake::ClearRequest{"A", "x", 5}));
}

TEST_F(Actions, AnMaWithoutAnMdBeforeItIsLoggedAsNull) {
  EXPECT_THAT(
      Perform({Parameter(tag::kMa, Buf("x")), Parameter(tag::kMd, Buf("A"))}, CONFD_OK),
      ElementsAre(kReceived, "10 Parameter MA=(null) received", "10 Parameter MD=A received",
                  "10 MEP to have the statistics cleared: MD: A, MA: x, MEP: <any>", kCleared));
}

TEST_F(Actions, AMepIdTakesTheLow16BitsAndIsShownWithASign) {
  EXPECT_THAT(
      Perform({Parameter(tag::kMep, Int32(70000))}, CONFD_OK),
      testing::Contains("10 MEP to have the statistics cleared: MD: <any>, MA: <any>, MEP: 4464"));
  EXPECT_THAT(
      Perform({Parameter(tag::kMep, Int32(40000))}, CONFD_OK),
      ElementsAre(kReceived, "10 Parameter MEP=40000 received",
                  "10 MEP to have the statistics cleared: MD: <any>, MA: <any>, MEP: -25536",
                  kCleared));
  EXPECT_THAT(fake::ClearRequests(),
              ElementsAre(fake::ClearRequest{std::nullopt, std::nullopt, 4464},
                          fake::ClearRequest{std::nullopt, std::nullopt, 40000}));
}

TEST_F(Actions, MepZeroStandsForAnyAndALaterParameterWins) {
  EXPECT_THAT(
      Perform({Parameter(tag::kMep, Int32(5)), Parameter(tag::kMep, Int32(0))}, CONFD_OK),
      testing::Contains("10 MEP to have the statistics cleared: MD: <any>, MA: <any>, MEP: <any>"));
  EXPECT_THAT(fake::ClearRequests(),
              ElementsAre(fake::ClearRequest{std::nullopt, std::nullopt, 0}));
}

TEST_F(Actions, AnUnknownParameterIsRefusedAndNothingIsCleared) {
  EXPECT_THAT(Perform({Parameter(tag::kMd, Buf("A")), Parameter(tag::kLevel, Int32(3))}, CONFD_ERR),
              ElementsAre(kReceived, "10 Parameter MD=A received",
                          "11 Invalid XML Tag 3 while handling action clear statistics."));
  EXPECT_THAT(fake::ClearRequests(), IsEmpty());
}

TEST_F(ActionsDeath, ParametersOfAnotherTypeFailTheAssertion) {
  EXPECT_DEATH(Perform({Parameter(tag::kMep, Buf("5"))}, CONFD_OK),
               Assertion("(&params[i].v)->type == C_INT32"));
  EXPECT_DEATH(Perform({Parameter(tag::kMd, Int32(5))}, CONFD_OK),
               Assertion("(&params[i].v)->type == C_BUF"));
  EXPECT_DEATH(Perform({Parameter(tag::kMa, Int32(5))}, CONFD_OK),
               Assertion("(&params[i].v)->type == C_BUF"));
}

}  // namespace
}  // namespace test
