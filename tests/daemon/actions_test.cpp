#include "status/actions.h"

#include <optional>
#include <string>
#include <vector>

#include "daemon/death.h"
#include "daemon/fake_client.h"
#include "daemon/platform_test.h"
#include "daemon/values.h"
#include "status/statistics_callpoint.h"
#include "status/status_data.h"

namespace test {
namespace {

namespace tag = cfm::tag;
using testing::ElementsAre;
using testing::ExitedWithCode;
using testing::IsEmpty;

class Actions : public PlatformTest {
 protected:
  static confd_tag_value_t Parameter(tag::Tag tag, confd_value_t value) {
    return {{tag, tag::kNamespace}, value};
  }

  // The messages after the constructor's, as "level text".
  std::vector<std::string> Perform(std::vector<confd_tag_value_t> parameters, int expected) {
    cfm::Actions actions(fake::Category(), &client_, &callpoint_);
    fake::Logs().clear();
    fake::Events().clear();
    EXPECT_EQ(actions.ActionCb(nullptr, nullptr, nullptr, parameters.data(),
                               static_cast<int>(parameters.size())),
              expected);
    std::vector<std::string> texts;
    for (const fake::LogRecord& record : fake::Logs()) {
      EXPECT_EQ(record.file, "status.cpp");
      if (record.function == "ClearStatisticsCache") {
        continue;  // the callpoint's own
      }
      EXPECT_EQ(record.function, "ActionCb");
      texts.push_back(std::to_string(record.level) + " " + record.text);
    }
    return texts;
  }

  // Whether a MEP has an entry in the cache.
  bool IsCached(tag::Tag leaf, const cfm::MepInfo& mep) {
    data_.SetMepInfo(0, mep);
    confd_value_t value{};
    const confd_hkeypath_t keypath = Keypath({Tag(leaf), Int64(0)});
    return callpoint_.GetConfdValueFromCache(value, &keypath);
  }
  bool IsCached(const cfm::MepInfo& local_mep) { return IsCached(tag::kMepCcmsSent, local_mep); }
  // Of local MEP 5 and of remote MEP 7.
  void ExpectCached(const std::string& md, const std::string& ma, bool expected) {
    EXPECT_EQ(IsCached({md, ma, 5}), expected) << md << ' ' << ma;
    EXPECT_EQ(IsCached(tag::kRmepCcmsReceived, {md, ma, 7}), expected) << md << ' ' << ma;
  }

  VelConfdInterface* connection_ = nullptr;
  cfm::StatusData data_{&connection_};
  cfm::Client client_{fake::Middleware(), nullptr};
  cfm::StatisticsCallpoint callpoint_{fake::Category(), &client_, &data_};
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

TEST_F(ActionsDeath, WithoutBothThereIsOneFault) {
  EXPECT_EXIT(cfm::Actions(fake::Category(), nullptr, nullptr), ExitedWithCode(1),
              "^backtrace\nfault severity=1 function=Actions [^\n]*\n$");
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
  EXPECT_THAT(fake::ClearRequests(), ElementsAre(fake::ClearRequest{"A", "x", 0}));
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
  callpoint_.HandleStatisticsLocalMep("A", "x", 6, {});
  EXPECT_THAT(
      Perform({Parameter(tag::kMep, Int32(5)), Parameter(tag::kMep, Int32(0))}, CONFD_OK),
      testing::Contains("10 MEP to have the statistics cleared: MD: <any>, MA: <any>, MEP: <any>"));
  EXPECT_THAT(fake::ClearRequests(),
              ElementsAre(fake::ClearRequest{std::nullopt, std::nullopt, 0}));
  EXPECT_FALSE(IsCached({"A", "x", 6}));
}

TEST_F(Actions, ALaterNameWinsToo) {
  Perform({Parameter(tag::kMd, Buf("A")), Parameter(tag::kMa, Buf("x")),
           Parameter(tag::kMa, Buf("y")), Parameter(tag::kMd, Buf("B"))},
          CONFD_OK);
  EXPECT_THAT(fake::ClearRequests(), ElementsAre(fake::ClearRequest{"B", "y", 0}));
}

TEST_F(Actions, AnIdWhoseLow16BitsAreZeroStandsForAny) {
  EXPECT_THAT(Perform({Parameter(tag::kMep, Int32(65536))}, CONFD_OK),
              ElementsAre(kReceived, "10 Parameter MEP=0 received",
                          "10 MEP to have the statistics cleared: MD: <any>, MA: <any>, MEP: <any>",
                          kCleared));
  EXPECT_THAT(fake::ClearRequests(),
              ElementsAre(fake::ClearRequest{std::nullopt, std::nullopt, 0}));
}

TEST_F(Actions, ANegativeIdIsShownAsItIsAndTakesTheLow16Bits) {
  EXPECT_THAT(Perform({Parameter(tag::kMep, Int32(-1))}, CONFD_OK),
              ElementsAre(kReceived, "10 Parameter MEP=65535 received",
                          "10 MEP to have the statistics cleared: MD: <any>, MA: <any>, MEP: -1",
                          kCleared));
  EXPECT_THAT(fake::ClearRequests(),
              ElementsAre(fake::ClearRequest{std::nullopt, std::nullopt, 65535}));
}

// It is a name for the manager, and any name for the cache.
TEST_F(Actions, AnEmptyNameIsPassedOnAsItIs) {
  callpoint_.HandleStatisticsLocalMep("A", "x", 5, {});
  EXPECT_THAT(
      Perform({Parameter(tag::kMd, Buf(""))}, CONFD_OK),
      ElementsAre(kReceived, "10 Parameter MD= received",
                  "10 MEP to have the statistics cleared: MD: , MA: <any>, MEP: <any>", kCleared));
  EXPECT_THAT(fake::ClearRequests(), ElementsAre(fake::ClearRequest{"", std::nullopt, 0}));
  EXPECT_FALSE(IsCached({"A", "x", 5}));
}

TEST_F(Actions, AnUnknownParameterIsRefusedAndNothingIsCleared) {
  callpoint_.HandleStatisticsLocalMep("A", "x", 5, {});
  EXPECT_THAT(Perform({Parameter(tag::kMd, Buf("A")), Parameter(tag::kLevel, Int32(3))}, CONFD_ERR),
              ElementsAre(kReceived, "10 Parameter MD=A received",
                          "11 Invalid XML Tag 3 while handling action clear statistics."));
  EXPECT_THAT(fake::ClearRequests(), IsEmpty());
  EXPECT_TRUE(IsCached({"A", "x", 5}));
}

// The last one would fail the assertion.
TEST_F(Actions, ParametersBehindAnUnknownOneAreNotLookedAt) {
  EXPECT_THAT(
      Perform({Parameter(tag::kLevel, Int32(3)), Parameter(tag::kMd, Buf("A")),
               Parameter(tag::kMep, Buf("5"))},
              CONFD_ERR),
      ElementsAre(kReceived, "11 Invalid XML Tag 3 while handling action clear statistics."));
}

TEST_F(Actions, ALongUnknownParameterIsCutInTheWarning) {
  std::string text(500, 'p');
  confd_value_t value{};
  CONFD_SET_BUF(&value, reinterpret_cast<unsigned char*>(text.data()),
                static_cast<unsigned>(text.size()));
  EXPECT_EQ(
      Perform({Parameter(tag::kLevel, value)}, CONFD_ERR).back(),
      "11 Invalid XML Tag " + std::string(127, 'p') + " while handling action clear statistics.");
}

TEST_F(Actions, TheManagerIsAskedBeforeTheCacheIsCleared) {
  callpoint_.HandleStatisticsLocalMep("A", "x", 5, {});
  Perform({}, CONFD_OK);
  EXPECT_THAT(fake::Events(),
              ElementsAre("zlog Action clear statistics request received",
                          "zlog MEP to have the statistics cleared: MD: <any>, MA: <any>, "
                          "MEP: <any>",
                          "ClearStatistics", "zlog Clearing statistics from cache",
                          "zlog Local MEP statistics cleared: MD: A, MA: x, MEP: 5",
                          "zlog Statistics successfully cleared!", "~ActionHandler"));
}

TEST_F(Actions, WithoutParametersBothCachesAreEmptied) {
  callpoint_.HandleStatisticsLocalMep("A", "x", 5, {});
  callpoint_.HandleStatisticsRemoteMep("B", "y", 5, 7, {});
  Perform({}, CONFD_OK);
  EXPECT_FALSE(IsCached({"A", "x", 5}));
  EXPECT_FALSE(IsCached(tag::kRmepCcmsReceived, {"B", "y", 7}));
}

TEST_F(Actions, AnMdOrAnMaAloneClearsItsEntriesOnly) {
  for (const char* md : {"A", "B"}) {
    for (const char* ma : {"x", "y"}) {
      callpoint_.HandleStatisticsLocalMep(md, ma, 5, {});
      callpoint_.HandleStatisticsRemoteMep(md, ma, 5, 7, {});
    }
  }
  Perform({Parameter(tag::kMd, Buf("A"))}, CONFD_OK);
  ExpectCached("A", "x", false);
  ExpectCached("A", "y", false);
  ExpectCached("B", "x", true);
  ExpectCached("B", "y", true);
  Perform({Parameter(tag::kMa, Buf("x"))}, CONFD_OK);
  ExpectCached("B", "x", false);
  ExpectCached("B", "y", true);
  EXPECT_THAT(fake::ClearRequests(), ElementsAre(fake::ClearRequest{"A", std::nullopt, 0},
                                                 fake::ClearRequest{std::nullopt, "x", 0}));
}

TEST_F(Actions, TheCacheIsClearedForTheLow16BitsOfAMepId) {
  callpoint_.HandleStatisticsLocalMep("A", "x", 4464, {});
  callpoint_.HandleStatisticsLocalMep("A", "x", 40000, {});
  callpoint_.HandleStatisticsLocalMep("A", "x", 5, {});
  Perform({Parameter(tag::kMep, Int32(70000))}, CONFD_OK);
  EXPECT_FALSE(IsCached({"A", "x", 4464}));
  EXPECT_TRUE(IsCached({"A", "x", 40000}));
  Perform({Parameter(tag::kMep, Int32(40000))}, CONFD_OK);
  EXPECT_FALSE(IsCached({"A", "x", 40000}));
  EXPECT_TRUE(IsCached({"A", "x", 5}));
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
