// What subscribers hear of a commit, rule by rule.
#include "difference.h"

#include <confd_lib.h>

#include <confd_cdb.h>

#include "change_report.h"
#include "fixture.h"
#include "instance_path.h"

namespace agentd::test {
namespace {

using ::testing::AllOf;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

std::string ValueText(const pb::Value& value) {
  return value.type() == C_BUF ? value.text() : std::to_string(value.number());
}

// "op name{key} old->new", one line a node, indented by a space a level.
void Print(const pb::Change& change, const std::string& indent, std::vector<std::string>& out) {
  static const char* const kOps[] = {"-", "CREATED", "DELETED", "MODIFIED", "SET"};
  std::string line = indent + kOps[change.op()] + " " + TheModel().Names().at(change.tag());
  for (const auto& key : change.keys()) {
    line += "{" + ValueText(key) + "}";
  }
  if (change.has_element()) {
    line += "=" + ValueText(change.element());
  }
  if (change.has_old_value()) {
    line += " " + ValueText(change.old_value());
  }
  if (change.has_new_value()) {
    line += " -> " + ValueText(change.new_value());
  }
  out.push_back(line);
  for (const auto& child : change.children()) {
    Print(child, indent + " ", out);
  }
}

class DifferenceTest : public DatastoreTest {
 protected:
  void SetUp() override { Commit({Document(EastDocument())}); }

  // The report below /config/oam/cfm.
  std::vector<std::string> Reported(const std::vector<pb::EditOperation>& operations) {
    report_ = Compare(operations)->Changes();
    std::vector<std::string> lines;
    if (report_.children_size() == 1) {
      for (const auto& change : report_.children(0).children(0).children(0).children()) {
        Print(change, "", lines);
      }
    }
    return lines;
  }

  bool Touched(const std::string& path) const {
    return Touches(TheModel(), report_, *ParsePath(TheModel(), path));
  }

  // Points of the daemon are lists without keys.
  bool TouchedList(std::initializer_list<const char*> names) const {
    pb::Path path;
    for (const char* name : names) {
      path.add_steps()->set_name(name);
    }
    return Touches(TheModel(), report_, *ResolvePath(TheModel(), path));
  }

  pb::Change report_;
};

const std::string kLevel = std::string(kEast) + "/level";
const std::string kAlarm = std::string(kCheck5) + "/fault-alarm-time";

TEST_F(DifferenceTest, ALeafWithANewValueIsSetBelowModifiedEntries) {
  EXPECT_THAT(Reported({SetLeaf(kLevel, "4")}),
              ElementsAre("MODIFIED md{east}", " SET level 3 -> 4"));
}

TEST_F(DifferenceTest, ALeafSetToTheValueThatItHasIsNotReported) {
  EXPECT_THAT(Reported({SetLeaf(kLevel, "3")}), IsEmpty());
  EXPECT_TRUE(Compare({SetLeaf(kLevel, "3")})->IsEmpty());
}

TEST_F(DifferenceTest, AnExplicitDefaultIsStoredAndNotReported) {
  EXPECT_THAT(Reported({SetLeaf(kAlarm, "2500")}), IsEmpty());
  const auto rows = Compare({SetLeaf(kAlarm, "2500")})->Rows();
  ASSERT_EQ(rows.size(), 1U);
  EXPECT_EQ(rows.front().path, kAlarm);
  EXPECT_EQ(rows.front().kind, RowChange::Kind::kPut);
  Commit({SetLeaf(kAlarm, "2500")});
  EXPECT_THAT(Reported({Operation(pb::EditOperation::DELETE, kAlarm)}), IsEmpty());
}

TEST_F(DifferenceTest, ALeafWithDefaultThatIsRemovedIsSetToTheDefault) {
  Commit({SetLeaf(kAlarm, "3000")});
  EXPECT_THAT(Reported({Operation(pb::EditOperation::DELETE, kAlarm)}),
              ElementsAre("MODIFIED md{east}", " MODIFIED ma{blue}", "  MODIFIED mep{5}",
                          "   MODIFIED continuity-check", "    SET fault-alarm-time 3000 -> 2500"));
}

TEST_F(DifferenceTest, AnOptionalLeafWithoutDefaultIsSetAndDeleted) {
  const std::string vlan = std::string(kMep5) + "/primary-vlan-id";
  EXPECT_THAT(Reported({SetLeaf(vlan, "20")}),
              ElementsAre("MODIFIED md{east}", " MODIFIED ma{blue}", "  MODIFIED mep{5}",
                          "   SET primary-vlan-id -> 20"));
  Commit({SetLeaf(vlan, "20")});
  EXPECT_THAT(Reported({Operation(pb::EditOperation::DELETE, vlan)}),
              Contains("   DELETED primary-vlan-id 20"));
}

TEST_F(DifferenceTest, AnEmptyLeafIsCreatedAndDeleted) {
  const std::string enabled = std::string(kCheck5) + "/cci-enabled";
  EXPECT_THAT(Reported({Operation(pb::EditOperation::DELETE, enabled)}),
              Contains("    DELETED cci-enabled"));
  Commit({Operation(pb::EditOperation::DELETE, enabled)});
  EXPECT_THAT(Reported({Operation(pb::EditOperation::MERGE, enabled)}),
              Contains("    CREATED cci-enabled"));
}

TEST_F(DifferenceTest, LeafListElementsAreCreatedAndDeleted) {
  const std::string list = std::string(kBlue) + "/remote-meps";
  EXPECT_THAT(
      Reported({Operation(pb::EditOperation::DELETE, list + "[.='100']"),
                Operation(pb::EditOperation::MERGE, list + "[.='7']")}),
      ::testing::UnorderedElementsAre("MODIFIED md{east}", " MODIFIED ma{blue}",
                                      "  DELETED remote-meps=100", "  CREATED remote-meps=7"));
}

TEST_F(DifferenceTest, AnotherOrderInADocumentIsNoChange) {
  EXPECT_THAT(Reported({Document(Replaced(EastDocument(), "[100,101]", "[101,100]"),
                                 pb::EditOperation::REPLACE)}),
              IsEmpty());
}

TEST_F(DifferenceTest, ACreatedEntryReportsItsLeavesButNeitherKeysNorDefaults) {
  EXPECT_THAT(Reported({Document(Replaced(EastDocument(), R"("id":5)", R"("id":6)"))}),
              ElementsAre("MODIFIED md{east}", " MODIFIED ma{blue}", "  CREATED mep{6}",
                          "   SET interface -> eth0", "   SET direction -> 0",
                          "   CREATED continuity-check", "    CREATED cci-enabled"));
}

TEST_F(DifferenceTest, APresenceContainerIsCreatedModifiedAndDeleted) {
  EXPECT_THAT(Reported({SetLeaf(kAlarm, "3000")}), Contains("   MODIFIED continuity-check"));
  EXPECT_THAT(Reported({Operation(pb::EditOperation::DELETE, kCheck5)}),
              ElementsAre("MODIFIED md{east}", " MODIFIED ma{blue}", "  MODIFIED mep{5}",
                          "   DELETED continuity-check"));
  Commit({Operation(pb::EditOperation::DELETE, kCheck5)});
  EXPECT_THAT(Reported({Operation(pb::EditOperation::MERGE, kCheck5)}),
              ElementsAre("MODIFIED md{east}", " MODIFIED ma{blue}", "  MODIFIED mep{5}",
                          "   CREATED continuity-check"));
}

TEST_F(DifferenceTest, NothingIsReportedBelowADeletedEntry) {
  EXPECT_THAT(Reported({Operation(pb::EditOperation::DELETE, kEast)}),
              ElementsAre("DELETED md{east}"));
}

TEST_F(DifferenceTest, AnIdMayMoveFromMepToRemoteMeps) {
  EXPECT_THAT(
      Reported({Operation(pb::EditOperation::DELETE, kMep5),
                Operation(pb::EditOperation::MERGE, std::string(kBlue) + "/remote-meps[.='5']")}),
      ::testing::UnorderedElementsAre("MODIFIED md{east}", " MODIFIED ma{blue}", "  DELETED mep{5}",
                                      "  CREATED remote-meps=5"));
}

TEST_F(DifferenceTest, ValuesHaveTheirConfdTypes) {
  const auto change = Compare({Document(Replaced(EastDocument(), R"("id":5)", R"("id":6)"))})
                          ->Changes()
                          .children(0)
                          .children(0)
                          .children(0)  // cfm
                          .children(0)
                          .children(0)
                          .children(0);  // md, ma, mep
  EXPECT_EQ(change.keys(0).type(), static_cast<unsigned>(C_INT32));
  EXPECT_EQ(change.children(0).new_value().type(), static_cast<unsigned>(C_BUF));
  EXPECT_EQ(change.children(1).new_value().type(), static_cast<unsigned>(C_ENUM_VALUE));
  EXPECT_EQ(change.tag(), 0x2b20e37eU);
}

TEST_F(DifferenceTest, PointsAreTouchedByChangesBelowThemOnly) {
  Reported({SetLeaf(std::string(kMep5) + "/interface", "eth1")});
  EXPECT_TRUE(TouchedList({"config", "oam", "cfm", "md"}));
  EXPECT_TRUE(TouchedList({"config", "oam", "cfm", "md", "ma", "mep"}));
  EXPECT_TRUE(Touched(kBlue));
  EXPECT_FALSE(Touched("/config/oam/cfm/md[id='west']"));
  Reported({SetLeaf(kLevel, "4")});
  EXPECT_TRUE(TouchedList({"config", "oam", "cfm", "md"}));
  EXPECT_FALSE(TouchedList({"config", "oam", "cfm", "md", "ma"}));
}

TEST_F(DifferenceTest, APointBelowADeletedEntryIsNotTouched) {
  Reported({Operation(pb::EditOperation::DELETE, kEast)});
  EXPECT_TRUE(TouchedList({"config", "oam", "cfm", "md"}));
  EXPECT_FALSE(TouchedList({"config", "oam", "cfm", "md", "ma"}));
  EXPECT_FALSE(TouchedList({"config", "oam", "cfm", "md", "ma", "mep"}));
}

TEST_F(DifferenceTest, LinesForPeopleNameEveryChange) {
  std::vector<std::string> lines;
  for (const auto& line :
       Compare({SetLeaf(kLevel, "4"), Operation(pb::EditOperation::DELETE, kCheck5),
                Operation(pb::EditOperation::MERGE, std::string(kBlue) + "/vlan-list[.='30']")})
           ->Lines()) {
    lines.push_back(std::to_string(line.kind()) + line.path() + " " + line.old_value() + ">" +
                    line.new_value());
  }
  EXPECT_THAT(lines, ::testing::UnorderedElementsAre(
                         "2" + kLevel + " 3>4", std::string("1") + kCheck5 + " >",
                         std::string("1") + kCheck5 + "/cci-enabled >",
                         std::string("0") + kBlue + "/vlan-list[.='30'] >30"));
}

}  // namespace
}  // namespace agentd::test
