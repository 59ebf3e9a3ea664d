// Every constraint of the model: what is refused, where, by which rule.
#include <algorithm>

#include "edit.h"
#include "fixture.h"

namespace agentd::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

struct Case {
  const char* name;
  const char* what;  // replaced in EastDocument
  const char* with;
  std::string path;
  std::string rule;
};

const std::string kName43(43, 'n');
const std::string kName44(44, 'n');

// Paths of constraints on east or blue, after what the replacement renames.
const std::vector<Case>& Cases() {
  static const std::string md44 = "\"id\":\"" + kName44 + "\"";
  static const std::string ma44 = "\"id\":\"" + kName44 + "\"";
  static const std::string ma41 = "\"id\":\"" + std::string(41, 'n') + "\"";
  static const std::string cfm = "/config/oam/cfm";
  static const std::string east = kEast;
  static const std::string blue = kBlue;
  static const std::string mep = kMep5;
  static const std::string check = kCheck5;
  static const std::vector<Case> cases = {
      {"EmptyMdName", R"("id":"east")", R"("id":"")", "/config/oam/cfm/md/id", "length 1..43"},
      {"LongMdName", R"("id":"east")", md44.c_str(), "/config/oam/cfm/md/id", "length 1..43"},
      {"MdNameWithTab", R"("id":"east")", R"("id":"ea\tst")", "/config/oam/cfm/md/id",
       "pattern [ -~]*"},
      {"EmptyMaName", R"("id":"blue")", R"("id":"")", east + "/ma/id", "length 1..43"},
      {"LongMaName", R"("id":"blue")", ma44.c_str(), east + "/ma/id", "length 1..43"},
      {"NamesTooLongForAMaid", R"("id":"blue")", ma41.c_str(),
       east + "/ma[id='" + std::string(41, 'n') + "']",
       "string-length(../id) + string-length(id) <= 44"},
      {"LevelMissing", R"("level":3,)", "", east + "/level", "mandatory"},
      {"LevelEight", R"("level":3)", R"("level":8)", east + "/level", "range 0..7"},
      {"LevelNegative", R"("level":3)", R"("level":-1)", east + "/level", "range 0..7"},
      {"IntervalMissing", R"("ccm-interval":"1s",)", "", blue + "/ccm-interval", "mandatory"},
      {"IntervalUnknown", R"("1s")", R"("2s")", blue + "/ccm-interval",
       "enumeration 1s|10s|1min|10min"},
      {"PrimaryVlanMissing", R"("primary-vlan-id":10,)", "", blue + "/primary-vlan-id",
       "mandatory"},
      {"PrimaryVlanZero", R"("primary-vlan-id":10)", R"("primary-vlan-id":0)",
       blue + "/primary-vlan-id", "range 1..4094"},
      {"PrimaryVlanTooHigh", R"("primary-vlan-id":10)", R"("primary-vlan-id":4095)",
       blue + "/primary-vlan-id", "range 1..4094"},
      {"PrimaryVlanNotInList", R"("vlan-list":[10,20])", R"("vlan-list":[20])", blue,
       "vlan-list = primary-vlan-id"},
      {"VlanTooHigh", "[10,20]", "[10,4095]", blue + "/vlan-list", "range 1..4094"},
      {"VlanZero", "[10,20]", "[10,0]", blue + "/vlan-list", "range 1..4094"},
      {"RemoteMepZero", "[100,101]", "[0]", blue + "/remote-meps", "range 1..8191"},
      {"RemoteMepTooHigh", "[100,101]", "[8192]", blue + "/remote-meps", "range 1..8191"},
      {"MepIsRemoteToo", "[100,101]", "[5]", blue + "/remote-meps[.='5']",
       "not(../mep[id = current()])"},
      {"MepIdZero", R"("id":5)", R"("id":0)", blue + "/mep/id", "range 1..8191"},
      {"MepIdTooHigh", R"("id":5)", R"("id":8192)", blue + "/mep/id", "range 1..8191"},
      {"InterfaceMissing", R"("interface":"eth0",)", "", mep + "/interface", "mandatory"},
      {"InterfaceEmpty", R"("eth0")", R"("")", mep + "/interface", "length 1..63"},
      {"InterfaceWithSpace", R"("eth0")", R"("eth 0")", mep + "/interface", "pattern [!-~]*"},
      {"DirectionMissing", R"("direction":"up",)", "", mep + "/direction", "mandatory"},
      {"DirectionUnknown", R"("up")", R"("left")", mep + "/direction", "enumeration up|down"},
      {"MepVlanTooHigh", R"("direction":"up")", R"("direction":"up","primary-vlan-id":4095)",
       mep + "/primary-vlan-id", "range 1..4094"},
      {"DefectUnknown", R"("cci-enabled":[null])", R"("lowest-fault-priority-defect":"all")",
       check + "/lowest-fault-priority-defect",
       "enumeration all-def|mac-rem-err-xcon|rem-err-xcon|err-xcon|xcon"},
      {"AlarmTimeTooShort", R"("cci-enabled":[null])", R"("fault-alarm-time":2499)",
       check + "/fault-alarm-time", "range 2500..10000"},
      {"AlarmTimeTooLong", R"("cci-enabled":[null])", R"("fault-alarm-time":10001)",
       check + "/fault-alarm-time", "range 2500..10000"},
      {"ResetTimeTooShort", R"("cci-enabled":[null])", R"("fault-reset-time":2499)",
       check + "/fault-reset-time", "range 2500..10000"},
      {"ResetTimeTooLong", R"("cci-enabled":[null])", R"("fault-reset-time":10001)",
       check + "/fault-reset-time", "range 2500..10000"},
      {"FaultActionUnknown", R"("cci-enabled":[null])", R"("fault-action":"burn")",
       check + "/fault-action", "enumeration none|block"},
      {"LevelIsNoNumber", R"("level":3)", R"("level":"high")", east + "/level", "type int32"},
  };
  return cases;
}

class Constraint : public DatastoreTest, public ::testing::WithParamInterface<std::size_t> {};

TEST_P(Constraint, IsRefusedWithPathAndRule) {
  const Case& each = Cases()[GetParam()];
  const Problems problems = TryCommit({Document(Replaced(EastDocument(), each.what, each.with))});
  const auto found = std::find_if(problems.begin(), problems.end(), [&](const Problem& problem) {
    return problem.path == each.path && problem.rule == each.rule;
  });
  ASSERT_NE(found, problems.end()) << ::testing::PrintToString(Texts(problems));
  EXPECT_FALSE(found->message.empty());
  EXPECT_EQ(datastore_.Running()->Txid(), 0U);
}

INSTANTIATE_TEST_SUITE_P(Model, Constraint, ::testing::Range<std::size_t>(0, Cases().size()),
                         [](const auto& instance) {
                           return std::string(Cases()[instance.param].name);
                         });

using Constraints = DatastoreTest;

TEST_F(Constraints, ExtremesOfEveryRangeAreAccepted) {
  std::string text = EastDocument();
  text = Replaced(text, R"("id":"east")", "\"id\":\"" + kName43 + "\"");
  text = Replaced(text, R"("id":"blue")", R"("id":"b")");
  text = Replaced(text, R"("level":3)", R"("level":7)");
  text = Replaced(text, "[10,20]", "[1,10,4094]");
  text = Replaced(text, "[100,101]", "[1,8191]");
  text = Replaced(text, R"("cci-enabled":[null])",
                  R"("fault-alarm-time":10000,"fault-reset-time":2500)");
  Commit({Document(text)});
}

TEST_F(Constraints, AllProblemsAreReportedAndNotOnlyTheFirst) {
  std::string text = Replaced(EastDocument(), R"("level":3,)", "");
  text = Replaced(text, "[10,20]", "[20]");
  text = Replaced(text, R"("direction":"up",)", "");
  EXPECT_THAT(
      Texts(TryCommit({Document(text)})),
      ElementsAre(std::string(kEast) + "/level: 'level' is missing [mandatory]",
                  std::string(kBlue) + ": the primary VLAN of the MA is not in its vlan-list "
                                       "[vlan-list = primary-vlan-id]",
                  std::string(kMep5) + "/direction: 'direction' is missing [mandatory]"));
}

TEST_F(Constraints, AllValuesAtFaultInADocumentAreReported) {
  std::string text = Replaced(EastDocument(), R"("level":3)", R"("level":9)");
  text = Replaced(text, R"("up")", R"("left")");
  const Problems problems = TryCommit({Document(text)});
  std::vector<std::string> rules;
  for (const Problem& problem : problems) {
    rules.push_back(problem.rule);
  }
  EXPECT_THAT(rules, ::testing::UnorderedElementsAre("range 0..7", "enumeration up|down"));
}

// MEPs 1..local of blue, and remote MEPs from the other end of the ids.
std::string Population(int local, int remote) {
  std::string meps;
  for (int id = 1; id <= local; ++id) {
    meps += std::string(id > 1 ? "," : "") + R"({"id":)" + std::to_string(id) +
            R"(,"interface":"eth0","direction":"up"})";
  }
  std::string remotes;
  for (int id = 0; id < remote; ++id) {
    remotes += std::string(id > 0 ? "," : "") + std::to_string(8191 - id);
  }
  return R"({"element-cfm:config":{"oam":{"cfm":{"md":[{"id":"full","level":3,"ma":[{"id":"one",
    "ccm-interval":"1s","primary-vlan-id":10,"vlan-list":[10],"remote-meps":[)" +
         remotes + R"(],"mep":[)" + meps + "]}]}]}}}}";
}

TEST_F(Constraints, TheElementHoldsNoMoreMepsThanItHasStatusRecords) {
  Commit({Document(Population(8000, 100))});
  Commit({Document(EastDocument())});  // three more
  std::vector<pb::EditOperation> rest;
  for (int id = 200; id < 289; ++id) {
    rest.push_back(SetLeaf(std::string(kBlue) + "/remote-meps", std::to_string(id)));
  }
  Commit(rest);  // 8192
  EXPECT_THAT(
      Texts(TryCommit({SetLeaf(std::string(kBlue) + "/remote-meps", "300")})),
      ElementsAre("/config/oam/cfm: 8193 instances of mep and remote-meps are configured and there "
                  "is room for 8192 [capacity 8192]"));
}

}  // namespace
}  // namespace agentd::test
