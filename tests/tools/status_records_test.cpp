// Records picked, shown as tables and written as documents.
#include "core/status_records.h"

#include <gmock/gmock.h>

#include "core/defects.h"
#include "core/status_document.h"
#include "core/status_tables.h"
#include "records.h"

namespace cfmctl {
namespace {

using testing::HasSubstr;
using testing::Not;
using testing::SizeIs;

StatusRecords Whole() {
  return {test::WholeLocalRecord(), test::WholeRemoteRecord()};
}

TEST(StatusRecords, AreFoundWhereverTheyStandBelowANode) {
  const TreeNode cfm =
      test::Container("cfm", {test::LocalRecord(), test::Leaf("x", ""), test::RemoteRecord()});
  EXPECT_THAT(RecordsIn(test::Container("", {test::Container("status", {cfm})}), {}), SizeIs(2));
  EXPECT_THAT(RecordsIn(test::RemoteRecord(), {}), SizeIs(1));
  EXPECT_THAT(RecordsIn(cfm, {"east", "blue", 7}), SizeIs(1));
  EXPECT_THAT(RecordsIn(cfm, {"west", {}, {}}), SizeIs(0));
}

TEST(StatusRecords, OneThatIsNotAllWrittenBelongsToEverythingOnly) {
  const TreeNode record = test::Entry("local", {test::Leaf("id", "3")});
  EXPECT_TRUE(IsSelected(record, {}));
  EXPECT_FALSE(IsSelected(record, {"east", {}, {}}));
}

TEST(StatusRecords, EachViewHasTheIdentityAndItsOwnLeaves) {
  const StatusRecords statistics = Narrowed(Whole(), StatusView::kStatistics);
  EXPECT_THAT(statistics[0].children, SizeIs(4 + 3));
  EXPECT_THAT(statistics[1].children, SizeIs(5 + 1));
  const StatusRecords status = Narrowed(Whole(), StatusView::kStatus);
  EXPECT_EQ(FindChild(status[0], "mep-ccms-sent"), nullptr);
  EXPECT_EQ(status[0].children.size() + 3, Whole()[0].children.size());
}

TEST(StatusRecords, TheLeavesOfAViewAreThoseThatItShows) {
  const auto statistics = LeavesOf(StatusView::kStatistics);
  EXPECT_THAT(statistics, testing::IsSupersetOf({"md", "remote-mep", "mep-ccms-sent"}));
  EXPECT_THAT(statistics, Not(testing::Contains("level")));
  EXPECT_THAT(statistics, Not(testing::Contains("state")));
  const auto status = LeavesOf(StatusView::kStatus);
  EXPECT_THAT(status, testing::IsSupersetOf({"md", "level", "vlan-list", "state"}));
  EXPECT_THAT(status, Not(testing::Contains("rmep-ccms-received")));
}

TEST(StatusTables, NameTheLeavesThatTheyShow) {
  const auto status = TableLeaves(StatusView::kStatus);
  EXPECT_THAT(status, testing::IsSupersetOf({"md", "level", "last-state-change", "defects"}));
  EXPECT_THAT(status, Not(testing::Contains("vlan-list")));
  EXPECT_THAT(TableLeaves(StatusView::kStatistics), Not(testing::Contains("level")));
}

TEST(StatusTables, AnEmptyValueIsNotTheSameAsNone) {
  TreeNode record = test::With(test::RemoteRecord(), "rx-sender-id", "");
  EXPECT_THAT(StatusTables({record}, StatusView::kStatus), testing::EndsWith("no-tlv   \"\"\n"));
  record.children.pop_back();
  EXPECT_THAT(StatusTables({record}, StatusView::kStatus), testing::EndsWith("no-tlv   -\n"));
}

TEST(Defects, LettersAreExplained) {
  EXPECT_EQ(WithMeaning("-"), "-");
  EXPECT_EQ(WithMeaning(""), "");
  EXPECT_EQ(WithMeaning("ARX"), "ARX (RDI, remote CCM, cross-connect CCM)");
  EXPECT_EQ(WithMeaning("SI"), "SI (MAC status, error CCM)");
  EXPECT_EQ(WithMeaning("AQ"), "AQ");
}

TEST(StatusTables, LocalMepsComeBeforeRemoteMeps) {
  StatusRecords records{test::WholeRemoteRecord(), test::WholeLocalRecord()};
  records[1] = test::With(test::With(records[1], "defects", "SR"), "highest-priority-defect", "R");
  EXPECT_EQ(StatusTables(records, StatusView::kStatus),
            "MD    MA    MEP  INTERFACE  DIRECTION  LEVEL  INTERVAL  VLAN  MAC-ADDRESS        "
            "TX-RDI  TX-INTERFACE  TX-PORT  BLOCK-STATE  HIGHEST  DEFECTS\n"
            "east  blue  5    ge1        down       3      1s        20    02:00:00:00:00:05  "
            "false   up            up       Forwarding   R        SR (MAC status, remote CCM)\n"
            "\n"
            "MD    MA    LOCAL-MEP  REMOTE-MEP  STATE    LAST-CHANGE     MAC-ADDRESS        "
            "RX-RDI  RX-INTERFACE  RX-PORT  SENDER-ID\n"
            "east  blue  5          7           rmep-ok  1h 2min 5s ago  02:00:00:00:00:07  "
            "false   up            no-tlv   ring & <east>\n");
}

TEST(StatusTables, StatisticsAreTheCounters) {
  EXPECT_EQ(StatusTables(Whole(), StatusView::kStatistics),
            "MD    MA    MEP  CCMS-SENT             CCMS-RECEIVED  SEQUENCE-ERRORS\n"
            "east  blue  5    18446744073709551615  98             2\n"
            "\n"
            "MD    MA    LOCAL-MEP  REMOTE-MEP  CCMS-RECEIVED\n"
            "east  blue  5          7           97\n");
}

TEST(StatusTables, AreSortedByNumberAndSayWhatIsMissing) {
  EXPECT_EQ(StatusTables({test::RemoteRecord("2", "10"), test::RemoteRecord("1", "9")},
                         StatusView::kStatistics),
            "MD    MA    LOCAL-MEP  REMOTE-MEP  CCMS-RECEIVED\n"
            "east  blue  5          9           -\n"
            "east  blue  5          10          -\n");
  EXPECT_EQ(StatusTables({}, StatusView::kStatus), "");
}

TEST(StatusDocument, WritesXml) {
  EXPECT_EQ(StatusDocument(Narrowed(Whole(), StatusView::kStatistics), DocumentFormat::kXml),
            R"(<status xmlns="urn:element:yang:cfm">
  <oam>
    <cfm>
      <local>
        <id>0</id>
        <md>east</md>
        <ma>blue</ma>
        <mep>5</mep>
        <mep-ccms-sent>18446744073709551615</mep-ccms-sent>
        <mep-ccms-received>98</mep-ccms-received>
        <mep-ccm-sequence-errors>2</mep-ccm-sequence-errors>
      </local>
      <remote>
        <id>1</id>
        <md>east</md>
        <ma>blue</ma>
        <local-mep>5</local-mep>
        <remote-mep>7</remote-mep>
        <rmep-ccms-received>97</rmep-ccms-received>
      </remote>
    </cfm>
  </oam>
</status>
)");
}

TEST(StatusDocument, WritesJsonWithLongNumbersAsStrings) {
  EXPECT_EQ(StatusDocument(Narrowed(Whole(), StatusView::kStatistics), DocumentFormat::kJson),
            R"({
  "element-cfm:status": {"oam": {"cfm": {
      "local": [
        {
          "id": "0",
          "md": "east",
          "ma": "blue",
          "mep": 5,
          "mep-ccms-sent": "18446744073709551615",
          "mep-ccms-received": "98",
          "mep-ccm-sequence-errors": 2
        }
      ],
      "remote": [
        {
          "id": "1",
          "md": "east",
          "ma": "blue",
          "local-mep": 5,
          "remote-mep": 7,
          "rmep-ccms-received": 97
        }
      ]
    }}}
}
)");
}

TEST(StatusDocument, EscapesWhatOthersSent) {
  const StatusRecords records{test::With(test::RemoteRecord(), "rx-sender-id", "a\"<\x1b")};
  EXPECT_THAT(StatusDocument(records, DocumentFormat::kXml),
              HasSubstr("<rx-sender-id>a\"&lt;&#xFFFD;</rx-sender-id>"));
  EXPECT_THAT(StatusDocument(records, DocumentFormat::kJson),
              HasSubstr(R"("rx-sender-id": "a\"<\ufffd")"));
}

TEST(StatusDocument, OfNothingHasNoLists) {
  EXPECT_EQ(StatusDocument({}, DocumentFormat::kJson),
            "{\n  \"element-cfm:status\": {\"oam\": {\"cfm\": {}}}\n}\n");
  EXPECT_THAT(StatusDocument({}, DocumentFormat::kXml), Not(HasSubstr("local")));
}

}  // namespace
}  // namespace cfmctl
